#include "platform/data/sqlite_database.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <thread>
#include <utility>

#include "platform/data/connection.h"
#include "platform/loop/long_wait.h"
#include "platform/values/run_time_error.h"
#include "sqlite_error.h"

namespace pellago::data {
namespace {

using Clock = std::chrono::steady_clock;

// How long a lock of another process is waited for, and how long by a program that is to end: its last rows
// should not be lost to a lock of a moment.
constexpr std::chrono::seconds kPatience{10};
constexpr std::chrono::milliseconds kLastPatience{500};

/// `path` as the library's file address, for the options that only an address can carry.
std::string ImmutableAddress(const std::string& path) {
    std::string address = "file:";
    for (const char c : path) {
        if (c == '%')
            address += "%25";
        else if (c == '?')
            address += "%3f";
        else if (c == '#')
            address += "%23";
        else
            address += c;
    }
    return address + "?immutable=1";
}

void RequireFile(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) throw FileFailure(path, errno);
    if (!S_ISREG(status.st_mode))
        throw RunTimeError(data_error::kNotADatabase, kErrorSource, "\"" + path + "\" is not a file.");
}

bool HasContent(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && status.st_size > 0;
}

/// How much longer a lock is waited for; all waits of a program that is to end share the time that it has.
Clock::duration Patience(Clock::time_point since) {
    static std::optional<Clock::time_point> end_began;
    const auto now = Clock::now();
    if (LongWaitGoesOn()) {
        end_began.reset();
        return since + kPatience - now;
    }
    if (!end_began) end_began = now;
    return *end_began + kLastPatience - now;
}

void SleepStep(int steps) {
    constexpr int kLongestStep = 25;  // milliseconds
    std::this_thread::sleep_for(std::chrono::milliseconds(std::min(steps + 1, kLongestStep)));
}

/// In steps that the end of the program can cut short. False gives up.
int WaitForLock(void* since, int steps) {
    auto& start = *static_cast<Clock::time_point*>(since);
    if (steps == 0) start = Clock::now();
    if (Patience(start) <= Clock::duration::zero()) return 0;
    SleepStep(steps);
    return 1;
}

// About a fifth of a millisecond's work.
constexpr int kStepsBetweenQuestions = 10'000;

bool GoesOn(void* goes_on) { return (*static_cast<std::function<bool()>*>(goes_on))(); }

}  // namespace

bool DifferInCaseOnly(std::string_view a, std::string_view b) {
    return sqlite3_strnicmp(a.data(), b.data(), static_cast<int>(a.size())) == 0;
}

void Database::Closer::operator()(sqlite3* handle) const { sqlite3_close(handle); }

Variant Database::LastKey() const { return Integer(sqlite3_last_insert_rowid(handle_.get())); }

std::int64_t Database::Changes() const { return sqlite3_changes64(handle_.get()); }

bool Database::InTransaction() const { return sqlite3_get_autocommit(handle_.get()) == 0; }

bool Database::ReadOnly() const { return sqlite3_db_readonly(handle_.get(), "main") == 1; }

void Database::Check(int code) const {
    if (code != SQLITE_OK) Raise(code);
}

Database::Database(const std::string& path) : path_(path) { OpenReadable(); }

Database::Database(const std::string& path, std::function<bool()> goes_on)
    : path_(path), goes_on_(std::move(goes_on)) {
    OpenReadable();
}

void Database::OpenReadable() {
    RequireFile(path_);
    OpenFile(path_, SQLITE_OPEN_READWRITE);
    try {
        CheckReadable();
    } catch (const RunTimeError& error) {
        // In a folder that is closed to us no file can be put beside the database, which reading needs too,
        // unless the file is whole in itself and nobody writes to it.
        if (error.Number() != data_error::kNotWritable || HasContent(path_ + "-wal")) throw;
        OpenFile(ImmutableAddress(path_), SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
        CheckReadable();
    }
    if (!ReadOnly()) SetJournal();
}

void Database::OpenFile(const std::string& file, int flags) {
    // Statistics that nobody asks for, at the price of a lock for each piece of memory. Before the first
    // file.
    static const int without_statistics = sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 0);
    static_cast<void>(without_statistics);
    sqlite3* handle = nullptr;
    // One thread uses a connection.
    const int code =
        sqlite3_open_v2(file.c_str(), &handle, flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    handle_.reset(handle);
    if (code != SQLITE_OK && handle && sqlite3_system_errno(handle) != 0)
        throw FileFailure(path_, sqlite3_system_errno(handle));
    Check(code);
    SetWaiting(handle);
}

// LongWaitGoesOn may turn the program's windows, so it is for the program's thread alone.
void Database::SetWaiting(sqlite3* handle) {
    if (!goes_on_) {
        Check(sqlite3_busy_handler(handle, WaitForLock, &waiting_since_));
        return;
    }
    const auto wait = [](void* goes_on, int steps) {
        SleepStep(steps);
        return GoesOn(goes_on) ? 1 : 0;
    };
    Check(sqlite3_busy_handler(handle, wait, &goes_on_));
    sqlite3_progress_handler(
        handle, kStepsBetweenQuestions, [](void* goes_on) { return GoesOn(goes_on) ? 0 : 1; }, &goes_on_);
}

void Database::CheckReadable() {
    Check(sqlite3_exec(handle_.get(), "SELECT 1 FROM sqlite_schema LIMIT 1", nullptr, nullptr, nullptr));
}

void Database::SetJournal() {
    // For a file that is still empty: two news items of common length do not fit a smaller page.
    Check(sqlite3_exec(handle_.get(), "PRAGMA page_size = 8192", nullptr, nullptr, nullptr));
    Check(sqlite3_exec(handle_.get(), "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr));
    Check(sqlite3_exec(handle_.get(), "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr));
}

Statement& Database::Prepared(const std::string& sql) {
    auto& statement = prepared_[sql];
    std::size_t length = 0;
    if (!statement) statement = Prepare(sql, SQLITE_PREPARE_PERSISTENT, length);
    if (!statement) throw RunTimeError(data_error::kStatementFailed, kErrorSource, "There is no statement.");
    return *statement;
}

std::unique_ptr<Statement> Database::TakeStatement(std::string_view& sql) {
    std::size_t length = 0;
    auto statement = Prepare(sql, 0, length);
    sql.remove_prefix(length);
    return statement;
}

std::unique_ptr<Statement> Database::Prepare(std::string_view sql, unsigned flags, std::size_t& length) {
    sqlite3_stmt* handle = nullptr;
    const char* rest = sql.data();
    Check(sqlite3_prepare_v3(handle_.get(), sql.data(), static_cast<int>(sql.size()), flags, &handle, &rest));
    length = static_cast<std::size_t>(rest - sql.data());
    return handle ? std::make_unique<Statement>(handle) : nullptr;
}

std::vector<Row> Database::Run(Statement& statement, const std::vector<Variant>& values) {
    std::vector<Row> rows;
    ForEach(statement, values, [&](Row row) { rows.push_back(std::move(row)); });
    return rows;
}

void Database::ForEach(Statement& statement, const std::vector<Variant>& values,
                       const std::function<void(Row row)>& visit) {
    struct Reset {
        sqlite3_stmt* handle;
        ~Reset() {
            sqlite3_reset(handle);
            sqlite3_clear_bindings(handle);
        }
    } const reset{statement.handle_.get()};
    Bind(statement, values);
    for (;;) {
        const int code = sqlite3_step(statement.handle_.get());
        if (code == SQLITE_DONE) return;
        if (code != SQLITE_ROW) Raise(code);
        visit(statement.TakeRow());
    }
}

void Database::Bind(Statement& statement, const std::vector<Variant>& values) {
    auto* handle = statement.handle_.get();
    int index = 0;
    for (const auto& value : values) {
        ++index;
        if (const auto* text = std::get_if<std::string>(&value))
            Check(sqlite3_bind_text64(handle, index, text->data(), text->size(), SQLITE_STATIC, SQLITE_UTF8));
        else if (const auto* number = std::get_if<std::int32_t>(&value))
            Check(sqlite3_bind_int(handle, index, *number));
        else if (const auto* long_number = std::get_if<std::int64_t>(&value))
            Check(sqlite3_bind_int64(handle, index, *long_number));
        else if (const auto* boolean = std::get_if<bool>(&value))
            Check(sqlite3_bind_int(handle, index, *boolean ? 1 : 0));
        else if (const auto* fraction = std::get_if<double>(&value))
            Check(sqlite3_bind_double(handle, index, *fraction));
        else if (const auto* bytes = std::get_if<Bytes>(&value))
            Check(sqlite3_bind_blob64(handle, index, bytes->data(), bytes->size(), SQLITE_STATIC));
        else if (const auto* date = std::get_if<DateTime>(&value)) {
            const auto written = ColumnText(*date);
            Check(sqlite3_bind_text64(handle, index, written.data(), written.size(), SQLITE_TRANSIENT,
                                      SQLITE_UTF8));
        } else
            Check(sqlite3_bind_null(handle, index));
    }
}

void Database::Rollback() {
    if (InTransaction()) sqlite3_exec(handle_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Database::Raise(int code) const { throw StatementFailure(path_, handle_.get(), code); }

}  // namespace pellago::data
