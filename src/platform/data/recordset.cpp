#include "platform/data/recordset.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "connection_impl.h"
#include "recordset_impl.h"
#include "sqlite_error.h"

namespace pellago {
namespace {

[[noreturn]] void Raise(std::int32_t number, const std::string& text) {
    throw RunTimeError(number, data::kErrorSource, text);
}

}  // namespace

void Recordset::State::RequireOpen() const {
    if (!IsOpen()) Raise(data_error::kObjectClosed, "The recordset is closed.");
}

void Recordset::State::Open() {
    connection->Open();
    columns = connection->state_->Prepared(source).ResultColumns();
    if (!columns) Raise(data_error::kStatementFailed, "\"" + source + "\" yields no rows.");
    opened_on = connection->state_->database;
}

void Recordset::State::Close() {
    State closed;
    closed.connection = std::move(connection);
    closed.source = std::move(source);
    *this = std::move(closed);
}

void Recordset::State::Forget() {
    DropChanges();
    rows.reset();
    added.reset();
    position = 0;
}

void Recordset::State::DropChanges() {
    pending.clear();
    adding = false;
}

std::string Recordset::State::Query() const {
    if (condition.sql.empty() && order.empty()) return source;
    // The database merges the two queries into one, so that the table's indexes serve the condition.
    return "SELECT * FROM (" + source + "\n)" + (condition.sql.empty() ? "" : " WHERE " + condition.sql) +
           (order.empty() ? "" : " ORDER BY " + order);
}

std::vector<data::Row>& Recordset::State::Rows() {
    RequireOpen();
    if (!rows) {
        auto fetched = connection->state_->Run(Query(), condition.values);
        if (!fetched.empty() && fetched.front().size() != columns->size())
            Raise(data_error::kStatementFailed, "The columns of \"" + source + "\" have changed.");
        rows = std::move(fetched);
        if (added) PutAddedRowLast();
    }
    return *rows;
}

void Recordset::State::PutAddedRowLast() {
    const auto key = RequireKey();
    const auto fetched = std::find_if(rows->begin(), rows->end(),
                                      [&](const data::Row& row) { return row[key] == (*added)[key]; });
    if (fetched == rows->end())
        rows->push_back(std::move(*added));  // the filter leaves it out, but it is still the current row
    else
        std::rotate(fetched, fetched + 1, rows->end());
    position = rows->size() - 1;
    added.reset();
}

data::Row& Recordset::State::CurrentRow() {
    RequireOpen();
    if (added) return *added;
    if (position >= Rows().size()) Raise(data_error::kNoCurrentRow, "There is no current row.");
    return (*rows)[position];
}

std::size_t Recordset::State::Index(std::string_view field) const {
    RequireOpen();
    const auto found =
        columns ? std::find_if(columns->begin(), columns->end(),
                               [&](const data::Column& column) { return data::SameName(column.name, field); })
                : data::Columns::const_iterator();
    if (!columns || found == columns->end())
        Raise(data_error::kNoSuchItem, "There is no column \"" + std::string(field) + "\".");
    return static_cast<std::size_t>(found - columns->begin());
}

Recordset::Recordset(std::shared_ptr<Connection> connection, std::string source)
    : state_(std::make_unique<State>()) {
    state_->connection = std::move(connection);
    state_->source = std::move(source);
}
Recordset::Recordset(std::unique_ptr<State> state) : state_(std::move(state)) {}
Recordset::~Recordset() = default;

const std::string& Recordset::Source() const { return state_->source; }
const std::shared_ptr<Connection>& Recordset::ActiveConnection() const { return state_->connection; }

void Recordset::Open() {
    if (IsOpen()) return;
    state_->Close();
    state_->Open();
}
void Recordset::Close() { state_->Close(); }
bool Recordset::IsOpen() const { return state_->IsOpen(); }

const std::string& Recordset::Filter() const { return state_->filter; }
void Recordset::Filter(const std::string& filter) {
    state_->RequireOpen();
    state_->condition = data::ParseFilter(filter, *state_->columns);
    state_->filter = filter;
    state_->Forget();
}

const std::string& Recordset::Sort() const { return state_->sort; }
void Recordset::Sort(const std::string& sort) {
    state_->RequireOpen();
    state_->order = data::ParseSort(sort, *state_->columns);
    state_->sort = sort;
    state_->Forget();
}

std::int32_t Recordset::RecordCount() {
    constexpr std::size_t kMost = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(state_->Rows().size(), kMost));
}

void Recordset::MoveFirst() {
    state_->DropChanges();
    state_->Rows();
    state_->position = 0;
}

void Recordset::MoveNext() {
    if (Eof()) Raise(data_error::kNoCurrentRow, "There is no current row.");
    state_->DropChanges();
    state_->Rows();
    ++state_->position;
}

bool Recordset::Eof() {
    state_->RequireOpen();
    if (state_->adding || state_->added) return false;
    return state_->position >= state_->Rows().size();
}

std::vector<std::string> Recordset::FieldNames() {
    state_->RequireOpen();
    std::vector<std::string> names;
    if (state_->columns)
        for (const auto& column : *state_->columns) names.push_back(column.name);
    return names;
}

Variant Recordset::Value(std::string_view field) {
    const auto index = state_->Index(field);
    if (const auto change = state_->pending.find(index); change != state_->pending.end())
        return change->second;
    return state_->adding ? Variant() : state_->CurrentRow()[index];
}

}  // namespace pellago
