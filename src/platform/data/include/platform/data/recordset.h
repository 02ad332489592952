#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/data/connection.h"

namespace pellago {

/// Rows of a query, read when they are first asked for: opening one to add rows reads nothing of its table.
/// Filter and Sort run in the database. Rows over one table with a key in their columns can be added to and
/// edited. Values read are those of the moment the rows were fetched, with the recordset's own changes.
class Recordset final {
public:
    /// `source` is a SELECT without parameters.
    Recordset(std::shared_ptr<Connection> connection, std::string source);
    ~Recordset();
    Recordset(const Recordset&) = delete;
    Recordset& operator=(const Recordset&) = delete;

    const std::string& Source() const;
    const std::shared_ptr<Connection>& ActiveConnection() const;

    /// Opens its connection too when that is closed. Throws RunTimeError when the source is not valid.
    void Open();
    /// Drops rows, filter, sort and pending changes. Moves, Filter, Sort and AddNew drop pending changes too.
    void Close();
    /// False also after its connection was closed. Any use but Open then throws data_error::kObjectClosed.
    bool IsOpen() const;

    /// Conditions `column = value` (also <, >, <=, >=, and `= Null`), `column LIKE 'prefix*'` ("*" being any
    /// text), joined by AND; empty for all rows. Moves before the first row. A filter that is not valid
    /// raises RunTimeError and leaves the one before in force.
    const std::string& Filter() const;
    void Filter(const std::string& filter);
    /// Columns in brackets or bare, joined by commas; empty for the source's own order.
    const std::string& Sort() const;
    void Sort(const std::string& sort);

    std::int32_t RecordCount();
    /// Before MoveFirst the position is the first row.
    void MoveFirst();
    /// Throws data_error::kNoCurrentRow at the end.
    void MoveNext();
    bool Eof();

    std::vector<std::string> FieldNames();
    /// The current row's value (a pending change, if there is one). Column names without regard to case; a
    /// column declared BOOLEAN reads as a Boolean, one declared DATETIME as a date. Throws
    /// data_error::kNoCurrentRow or kNoSuchItem.
    Variant Value(std::string_view field);
    /// Pends a change of the current row until Update.
    void Value(std::string_view field, Variant value);

    /// Starts a new row, which is the current one until the next move; Update inserts it. Throws
    /// data_error::kNotUpdatable, like setting a value.
    void AddNew();
    /// Writes the pending changes, only the changed columns, by the row's key. After an insert the key of the
    /// new row can be read; its columns that were not set read as Null until the rows are fetched anew. On
    /// failure, also when the row is no more, the changes stay pending.
    void Update();
    /// Drops the pending changes; a new row that was not written is no more.
    void CancelUpdate();

private:
    friend class Command;
    friend struct BackgroundSelect;
    struct State;
    explicit Recordset(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

}  // namespace pellago
