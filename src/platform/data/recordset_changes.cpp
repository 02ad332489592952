#include <utility>

#include "connection_impl.h"
#include "recordset_impl.h"
#include "sqlite_error.h"

namespace pellago {
namespace {

/// "a, b, c" of what `text` makes of each pending column.
template <class Changes, class Text>
std::string Listed(const Changes& changes, Text text) {
    std::string list;
    for (const auto& change : changes) list += (list.empty() ? "" : ", ") + text(change.first);
    return list;
}

}  // namespace

std::optional<std::size_t> Recordset::State::Key() const {
    std::optional<std::size_t> key;
    if (is_result) return key;
    for (std::size_t index = 0; index < columns->size(); ++index) {
        const auto& column = (*columns)[index];
        if (column.table.empty() || column.table != columns->front().table) return std::nullopt;
        if (column.is_key && std::exchange(key, index)) return std::nullopt;
    }
    return key;
}

std::size_t Recordset::State::RequireKey() const {
    RequireOpen();
    if (const auto key = Key()) return *key;
    throw RunTimeError(data_error::kNotUpdatable, data::kErrorSource,
                       "The rows of \"" + source + "\" cannot be changed.");
}

std::string Recordset::State::InsertText() const {
    int number = 0;
    const auto columns_set = Listed(pending, [&](std::size_t index) { return Origin(index); });
    const auto values = Listed(pending, [&](std::size_t) { return "?" + std::to_string(++number); });
    return "INSERT INTO " + Table() +
           (pending.empty() ? " DEFAULT VALUES" : " (" + columns_set + ") VALUES (" + values + ")");
}

std::string Recordset::State::UpdateText(std::size_t key) const {
    int number = 0;
    const auto changes =
        Listed(pending, [&](std::size_t index) { return Origin(index) + " = ?" + std::to_string(++number); });
    return "UPDATE " + Table() + " SET " + changes + " WHERE " + Origin(key) + " = ?" +
           std::to_string(number + 1);
}

std::string Recordset::State::Table() const { return data::QuotedName(columns->front().table); }
std::string Recordset::State::Origin(std::size_t column) const {
    return data::QuotedName((*columns)[column].origin);
}

std::vector<Variant> Recordset::State::PendingValues() const {
    std::vector<Variant> values;
    for (const auto& change : pending) values.push_back(change.second);
    return values;
}

void Recordset::State::Insert(std::size_t key) {
    connection->state_->Run(InsertText(), PendingValues());
    data::Row row(columns->size());
    row[key] = connection->state_->database->LastKey();
    for (const auto& [index, value] : pending) row[index] = value;
    if (!rows) {
        added = std::move(row);
        return;
    }
    rows->push_back(std::move(row));
    position = rows->size() - 1;
}

void Recordset::State::Change(std::size_t key) {
    auto& row = CurrentRow();
    auto values = PendingValues();
    values.push_back(row[key]);
    connection->state_->Run(UpdateText(key), values);
    if (connection->state_->database->Changes() == 0)
        throw RunTimeError(data_error::kNoCurrentRow, data::kErrorSource,
                           "The current row was deleted by another program.");
    for (const auto& [index, value] : pending) row[index] = value;
}

void Recordset::Value(std::string_view field, Variant value) {
    state_->RequireKey();
    const auto index = state_->Index(field);
    if (!state_->adding) state_->CurrentRow();
    state_->pending[index] = std::move(value);
}

void Recordset::AddNew() {
    state_->RequireKey();
    state_->DropChanges();
    state_->adding = true;
}

void Recordset::Update() {
    const auto key = state_->RequireKey();
    if (state_->adding)
        state_->Insert(key);
    else if (!state_->pending.empty())
        state_->Change(key);
    state_->DropChanges();
}

void Recordset::CancelUpdate() { state_->DropChanges(); }

}  // namespace pellago
