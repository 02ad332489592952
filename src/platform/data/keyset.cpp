#include "platform/data/keyset.h"

#include <cstdint>
#include <map>
#include <utility>

#include "background_query.h"
#include "connection_impl.h"
#include "key_list.h"
#include "recordset_impl.h"
#include "sqlite_error.h"

namespace pellago {
namespace {

// Rows are read in pages of some screens; those in memory are few.
constexpr std::size_t kPageRows = 64;
constexpr std::size_t kMostPages = 64;

constexpr const char* kKeyName = "RowKey";

/// `source` with its key as the first column.
std::string WithKey(const std::string& source, const std::string& key) {
    constexpr std::string_view kSelect = "SELECT ";
    if (!data::SameName(source.substr(0, kSelect.size()), kSelect))
        throw RunTimeError(data_error::kStatementFailed, data::kErrorSource,
                           "\"" + source + "\" does not begin with SELECT.");
    return "SELECT " + key + " AS " + kKeyName + ", " + source.substr(kSelect.size());
}

std::string Where(const data::Condition& condition) {
    return condition.sql.empty() ? "" : " WHERE " + condition.sql;
}

std::int64_t WholeNumber(const Variant& value) {
    if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
    if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
    return 0;
}

/// A placeholder for each key of a page.
std::string Placeholders() {
    std::string list = "?";
    for (std::size_t count = 1; count < kPageRows; ++count) list += ", ?";
    return list;
}

}  // namespace

/// What a query beside the program needs to know of a recordset.
struct BackgroundSelect {
    explicit BackgroundSelect(const Recordset& rows) : state(*rows.state_) { state.RequireOpen(); }

    data::Condition Condition(const std::string& filter) const {
        return data::ParseFilter(filter, *state.columns);
    }
    const std::string& File() const { return state.connection->DataSource(); }
    data::ColumnKind KindOf(const std::string& column) const {
        return (*state.columns)[state.Index(column)].kind;
    }

    const Recordset::State& state;
};

struct Keyset::State {
    std::shared_ptr<Connection> connection;
    std::string page_query;
    data::KeyList keys;
    bool is_complete = false;
    std::optional<ErrorInfo> failure;
    std::map<std::size_t, std::vector<data::Row>> pages;
    std::function<void()> changed;
    std::optional<data::BackgroundQuery> query;

    void Take(const data::BackgroundQuery::Answer& answer) {
        // The last page was read when it was not yet full.
        if (keys.Size() % kPageRows != 0) pages.erase(keys.Size() / kPageRows);
        for (const auto& row : answer.rows) keys.Add(WholeNumber(row.front()));
        is_complete = answer.is_last;
        failure = answer.failure;
        const auto tell = changed;
        tell();
    }

    std::vector<data::Row> ReadPage(std::size_t page) const {
        if (!connection->IsOpen())
            throw RunTimeError(data_error::kObjectClosed, data::kErrorSource, "The connection is closed.");
        const auto begin = page * kPageRows;
        std::vector<data::Row> rows(std::min(kPageRows, keys.Size() - begin));
        std::map<std::int64_t, std::size_t> places;
        std::vector<Variant> values;
        for (std::size_t at = 0; at < rows.size(); ++at) {
            places[keys[begin + at]] = at;
            values.push_back(data::Integer(keys[begin + at]));
        }
        values.resize(kPageRows);
        for (auto& row : connection->state_->Run(page_query, values)) {
            const auto place = places.find(WholeNumber(row.front()));
            row.erase(row.begin());
            if (place != places.end()) rows[place->second] = std::move(row);
        }
        return rows;
    }
};

Keyset::Keyset(const Recordset& rows, const std::string& key, const std::string& filter,
               const std::string& order, std::function<void()> changed)
    : state_(std::make_unique<State>()) {
    const BackgroundSelect select(rows);
    const auto condition = select.Condition(filter);
    const auto source = WithKey(select.state.source, key);
    const auto columns = data::ParseSort(order, *select.state.columns);
    state_->connection = select.state.connection;
    state_->page_query =
        "SELECT * FROM (" + source + "\n) WHERE " + kKeyName + " IN (" + Placeholders() + ")";
    state_->changed = std::move(changed);
    state_->query.emplace(
        select.File(),
        std::string("SELECT ") + kKeyName + " FROM (" + source + "\n)" + Where(condition) + " ORDER BY " +
            columns + (columns.empty() ? "" : ", ") + kKeyName + " DESC",
        condition.values,
        [state = state_.get()](const data::BackgroundQuery::Answer& answer) { state->Take(answer); });
}
Keyset::~Keyset() = default;

std::size_t Keyset::Size() const { return state_->keys.Size(); }
bool Keyset::IsComplete() const { return state_->is_complete; }
const std::optional<ErrorInfo>& Keyset::Failure() const { return state_->failure; }

const std::vector<Variant>& Keyset::Row(std::size_t index) {
    auto& pages = state_->pages;
    const auto page = index / kPageRows;
    auto found = pages.find(page);
    if (found == pages.end()) {
        auto rows = state_->ReadPage(page);
        if (pages.size() == kMostPages) pages.clear();
        found = pages.emplace(page, std::move(rows)).first;
    }
    return found->second.at(index % kPageRows);
}

struct RowGroups::State {
    std::vector<RowGroup> counted;
    std::optional<std::vector<RowGroup>> groups;
    std::optional<ErrorInfo> failure;
    std::function<void()> changed;
    std::optional<data::BackgroundQuery> query;

    void Take(data::BackgroundQuery::Answer answer) {
        for (auto& row : answer.rows)
            counted.push_back({std::move(row.front()), static_cast<std::size_t>(WholeNumber(row.back()))});
        if (!answer.is_last) return;
        failure = std::move(answer.failure);
        groups = std::move(counted);
        const auto tell = changed;
        tell();
    }
};

RowGroups::RowGroups(const Recordset& rows, const std::string& column, const std::string& filter,
                     std::function<void()> changed)
    : state_(std::make_unique<State>()) {
    const BackgroundSelect select(rows);
    const auto condition = select.Condition(filter);
    const auto name = data::QuotedName(column);
    const auto value =
        select.KindOf(column) == data::ColumnKind::kDate ? "substr(" + name + ", 1, 10)" : name;
    state_->changed = std::move(changed);
    state_->query.emplace(select.File(),
                          "SELECT " + value + ", COUNT(*) FROM (" + select.state.source + "\n)" +
                              Where(condition) + " GROUP BY 1 ORDER BY 1",
                          condition.values, [state = state_.get()](data::BackgroundQuery::Answer answer) {
                              state->Take(std::move(answer));
                          });
}
RowGroups::~RowGroups() = default;

const std::optional<std::vector<RowGroup>>& RowGroups::Groups() const { return state_->groups; }
const std::optional<ErrorInfo>& RowGroups::Failure() const { return state_->failure; }

}  // namespace pellago
