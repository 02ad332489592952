#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/values/run_time_error.h"
#include "platform/values/variant.h"

namespace pellago {

/// Numbers of the errors that the data layer raises, with source "Data".
namespace data_error {
inline constexpr std::int32_t kObjectClosed = 3704;
inline constexpr std::int32_t kNoCurrentRow = 3021;
inline constexpr std::int32_t kNotUpdatable = 3251;  ///< rows that are not those of one table with a key
inline constexpr std::int32_t kNoSuchItem = 3265;    ///< no field, parameter or command of that name
inline constexpr std::int32_t kFileMissing = 3024;
inline constexpr std::int32_t kNotADatabase = 3343;
inline constexpr std::int32_t kDamaged = 3049;
inline constexpr std::int32_t kLocked = 3260;  ///< another program kept the file locked for 10 seconds
inline constexpr std::int32_t kNotWritable = 3027;
inline constexpr std::int32_t kNewerSchema = 3800;
inline constexpr std::int32_t kStatementFailed = 3146;
inline constexpr std::int32_t kConstraint = 3022;
}  // namespace data_error

/// One connection to a database file. Shared by the recordsets and commands that use it.
class Connection final {
public:
    Connection();
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    const std::string& DataSource() const;
    void DataSource(std::string path);

    /// Called each time the connection is about to open; may set DataSource.
    void OnWillConnect(std::function<void()> handler);
    /// Called each time right after the file was opened, before anything else uses it; what it throws closes
    /// the connection again and reaches the caller of Open. The place for schema checks.
    void OnConnected(std::function<void()> handler);

    /// Opens an existing file; never makes one. Throws RunTimeError with a number of data_error and a text
    /// that names the file. Does nothing when open. A file that cannot be written opens for reading.
    void Open();
    /// Commits what BeginWrites began. Closes the recordsets that were opened on it.
    void Close();
    bool IsOpen() const;

    /// Runs statements that return no rows. Opens the connection when it is closed.
    void Execute(std::string_view sql);
    /// First column of the first row, Null without a row.
    Variant Scalar(std::string_view sql);

    /// Takes the file's write lock (waiting up to 10 seconds for other processes) until CommitWrites. Does
    /// nothing while it is held. A lock that is still held 100 ms later is given up by committing as soon as
    /// the message loop runs, so that none is kept while a nested window waits for the user; the owner calls
    /// BeginWrites again before its next write, and a failure of that commit is thrown by CommitWrites. Needs
    /// a message loop.
    void BeginWrites();
    /// Commits what was written since BeginWrites and frees the lock. After a failure it may be called again:
    /// the writes are kept, or, where the library or the 100 ms gave them up, it fails again.
    void CommitWrites();
    /// Gives up what was written since BeginWrites, and a failure of its commit.
    void RollbackWrites();
    bool HoldsWrites() const;

    /// The errors of the statements that failed since the last ClearErrors, oldest first.
    const std::vector<ErrorInfo>& Errors() const;
    void ClearErrors();
    /// Called for each failure of a statement, also for those that nobody reports further.
    void OnFailure(std::function<void(const ErrorInfo& error)> observer);

    /// Called before each statement is run, BEGIN and COMMIT included, ROLLBACK not, with its text; what it
    /// throws becomes the statement's failure. For tests and diagnosis.
    void OnStatement(std::function<void(std::string_view sql)> hook);

private:
    friend class Command;
    friend class Keyset;
    friend class Recordset;
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace pellago
