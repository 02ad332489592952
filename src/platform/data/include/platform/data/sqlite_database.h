#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/values/variant.h"

struct sqlite3;
struct sqlite3_stmt;

namespace pellago::data {

enum class ColumnKind { kPlain, kBoolean, kDate };

struct Column {
    std::string name;
    ColumnKind kind = ColumnKind::kPlain;
    std::string table;   ///< where its values are kept; empty for an expression
    std::string origin;  ///< its name in that table
    bool is_key = false;
};
using Columns = std::vector<Column>;
using Row = std::vector<Variant>;

/// A 32-bit integer, or a 64-bit one beyond its range.
Variant Integer(std::int64_t number);

/// A prepared statement. Lives no longer than its database.
class Statement final {
public:
    explicit Statement(sqlite3_stmt* handle);

    std::string_view Sql() const;
    /// Kept alive by the rows' owner also when the statement is prepared anew.
    const std::shared_ptr<const Columns>& ResultColumns() const { return columns_; }

private:
    friend class Database;
    Row TakeRow();
    Variant TakeValue(int index) const;

    struct Finalizer {
        void operator()(sqlite3_stmt* handle) const;
    };
    std::unique_ptr<sqlite3_stmt, Finalizer> handle_;
    std::shared_ptr<const Columns> columns_;
};

/// An open database file with the statements that were prepared on it. Every failure of the library leaves
/// here as a RunTimeError with a number of data_error.
class Database final {
public:
    /// Opens an existing file, for reading alone where it cannot be written. For the program's thread: a lock
    /// of another process is waited for as LongWaitGoesOn says, up to 10 seconds.
    explicit Database(const std::string& path);
    /// For those who may wait only as long as they say, on whatever thread: `goes_on` is asked often while a
    /// statement runs or waits for a lock; false ends the statement.
    Database(const std::string& path, std::function<bool()> goes_on);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// The statement of that text, prepared at its first use and kept.
    Statement& Prepared(const std::string& sql);
    /// The first statement of `sql`, which becomes what follows it. Null when only blanks are left.
    std::unique_ptr<Statement> TakeStatement(std::string_view& sql);

    /// Runs a statement to its end; no lock is left behind but that of an open transaction.
    std::vector<Row> Run(Statement& statement, const std::vector<Variant>& values);
    /// The same, each row given to `visit` when it is found.
    void ForEach(Statement& statement, const std::vector<Variant>& values,
                 const std::function<void(Row row)>& visit);

    /// The key that the last insert gave its row.
    Variant LastKey() const;
    /// The number of rows that the last statement that writes has touched.
    std::int64_t Changes() const;
    bool InTransaction() const;
    bool ReadOnly() const;
    /// Ends an open transaction, whatever the library says to it.
    void Rollback();

private:
    void OpenReadable();
    void OpenFile(const std::string& file, int flags);
    void SetWaiting(sqlite3* handle);
    void CheckReadable();
    void SetJournal();
    std::unique_ptr<Statement> Prepare(std::string_view sql, unsigned flags, std::size_t& length);
    void Bind(Statement& statement, const std::vector<Variant>& values);
    [[noreturn]] void Raise(int code) const;
    void Check(int code) const;

    struct Closer {
        void operator()(sqlite3* handle) const;
    };
    std::string path_;
    std::function<bool()> goes_on_;  ///< empty on the program's thread
    std::chrono::steady_clock::time_point waiting_since_;
    std::unique_ptr<sqlite3, Closer> handle_;
    // After handle_: statements go before the connection they belong to.
    std::unordered_map<std::string, std::unique_ptr<Statement>> prepared_;
};

/// For names of the same length: whether they differ in the case of ASCII letters at most.
bool DifferInCaseOnly(std::string_view a, std::string_view b);

/// Column names are equal without regard to the case of ASCII letters.
inline bool SameName(std::string_view a, std::string_view b) {
    return a == b || (a.size() == b.size() && DifferInCaseOnly(a, b));
}

}  // namespace pellago::data
