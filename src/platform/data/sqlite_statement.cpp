#include <sqlite3.h>

#include <limits>

#include "platform/data/sqlite_database.h"

namespace pellago::data {
namespace {

std::string Text(const char* text) { return text ? text : std::string(); }

ColumnKind KindOf(const std::string& declared_type) {
    if (SameName(declared_type, "BOOLEAN")) return ColumnKind::kBoolean;
    if (SameName(declared_type, "DATETIME")) return ColumnKind::kDate;
    return ColumnKind::kPlain;
}

bool IsKey(sqlite3_stmt* statement, const Column& column, int index) {
    int is_key = 0;
    const char* type = nullptr;
    const int code = sqlite3_table_column_metadata(
        sqlite3_db_handle(statement), sqlite3_column_database_name(statement, index), column.table.c_str(),
        column.origin.c_str(), &type, nullptr, nullptr, &is_key, nullptr);
    return code == SQLITE_OK && is_key != 0 && type && SameName(type, "INTEGER");
}

std::shared_ptr<const Columns> Describe(sqlite3_stmt* statement) {
    const int count = sqlite3_column_count(statement);
    if (count == 0) return nullptr;
    auto columns = std::make_shared<Columns>();
    for (int index = 0; index < count; ++index) {
        Column column{Text(sqlite3_column_name(statement, index)),
                      KindOf(Text(sqlite3_column_decltype(statement, index))),
                      Text(sqlite3_column_table_name(statement, index)),
                      Text(sqlite3_column_origin_name(statement, index))};
        column.is_key = !column.table.empty() && IsKey(statement, column, index);
        columns->push_back(std::move(column));
    }
    return columns;
}

}  // namespace

Variant Integer(std::int64_t number) {
    using Limits = std::numeric_limits<std::int32_t>;
    if (number < Limits::min() || number > Limits::max()) return number;
    return static_cast<std::int32_t>(number);
}

void Statement::Finalizer::operator()(sqlite3_stmt* handle) const { sqlite3_finalize(handle); }

std::string_view Statement::Sql() const { return sqlite3_sql(handle_.get()); }

Statement::Statement(sqlite3_stmt* handle) : handle_(handle), columns_(Describe(handle)) {}

Row Statement::TakeRow() {
    const auto count = static_cast<std::size_t>(sqlite3_column_count(handle_.get()));
    // The library prepares a statement anew when another program changed the tables.
    if (count != columns_->size()) columns_ = Describe(handle_.get());
    Row row;
    row.reserve(count);
    for (std::size_t index = 0; index < count; ++index) row.push_back(TakeValue(static_cast<int>(index)));
    return row;
}

Variant Statement::TakeValue(int index) const {
    auto* handle = handle_.get();
    const auto kind = (*columns_)[static_cast<std::size_t>(index)].kind;
    const int type = sqlite3_column_type(handle, index);
    if (type == SQLITE_INTEGER) {
        const auto number = sqlite3_column_int64(handle, index);
        if (kind == ColumnKind::kBoolean) return number != 0;
        return Integer(number);
    }
    if (type == SQLITE_FLOAT) return sqlite3_column_double(handle, index);
    if (type == SQLITE_NULL) return Null{};
    const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(handle, index));
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle, index));
    if (type == SQLITE_BLOB) return bytes ? Bytes(bytes, bytes + size) : Bytes();
    std::string text = bytes ? std::string(reinterpret_cast<const char*>(bytes), size) : std::string();
    if (kind == ColumnKind::kDate)
        if (const auto date = FromColumnText(text)) return *date;
    return text;
}

}  // namespace pellago::data
