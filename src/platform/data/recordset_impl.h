#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/data/recordset.h"
#include "platform/data/sqlite_database.h"
#include "row_filter.h"

namespace pellago {

struct Recordset::State {
    std::shared_ptr<Connection> connection;
    std::string source;

    std::weak_ptr<data::Database> opened_on;  ///< dead once the connection is closed
    bool is_result = false;                   ///< a command's rows, which need no connection
    std::shared_ptr<const data::Columns> columns;
    std::string filter;
    data::Condition condition;
    std::string sort;
    std::string order;

    std::optional<std::vector<data::Row>> rows;  ///< empty until they are asked for
    std::size_t position = 0;
    /// A row added while the rows were not there: current until they are.
    std::optional<data::Row> added;
    bool adding = false;
    std::map<std::size_t, Variant> pending;  ///< by column

    bool IsOpen() const { return is_result || !opened_on.expired(); }
    void RequireOpen() const;
    void Open();
    void Close();
    void Forget();
    void DropChanges();

    std::vector<data::Row>& Rows();
    void PutAddedRowLast();
    std::string Query() const;
    data::Row& CurrentRow();
    std::size_t Index(std::string_view field) const;
    /// The one key of the one table that the columns belong to.
    std::optional<std::size_t> Key() const;
    std::size_t RequireKey() const;

    std::string Table() const;
    std::string Origin(std::size_t column) const;
    std::string InsertText() const;
    std::string UpdateText(std::size_t key) const;
    std::vector<Variant> PendingValues() const;
    void Insert(std::size_t key);
    void Change(std::size_t key);
};

}  // namespace pellago
