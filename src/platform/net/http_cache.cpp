#include "http_cache.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <limits>
#include <system_error>
#include <utility>

#include "platform/data/connection.h"
#include "platform/files/program.h"
#include "platform/values/date_time.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

constexpr const char* kFile = "http-2.sqlite";  // the number is that of the tables' form
constexpr const char* kOlderFile = "http-1.sqlite";
constexpr const char* kTables =
    "CREATE TABLE IF NOT EXISTS Answers (Address TEXT PRIMARY KEY, Url TEXT, ETag TEXT, LastModified TEXT,"
    " ContentType TEXT, Fetched INTEGER, Used INTEGER, Size INTEGER, Body BLOB);"
    "CREATE INDEX IF NOT EXISTS AnswersByUse ON Answers (Used, Size);"
    "CREATE TABLE IF NOT EXISTS RetryTimes (Address TEXT PRIMARY KEY, Time INTEGER)";

constexpr auto kPatience = std::chrono::milliseconds(100);  // with a lock of another process, or a slow disk
constexpr std::size_t kLongestLine = 4096;                  // bytes
constexpr std::int64_t kDay = std::int64_t{24} * 60 * 60;   // seconds
constexpr std::int64_t kLongestRetry = 7 * kDay;

bool IsPlainLine(const std::string& text) {
    return text.size() <= kLongestLine &&
           std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; });
}

// A damaged file may have values of any type: what should be a text and is none is empty, and so of no use.
std::string Text(const data::Row& row, std::size_t index) {
    const auto* text = std::get_if<std::string>(&row.at(index));
    return text ? *text : std::string();
}

std::int64_t Number(const data::Row& row, std::size_t index) {
    const auto& value = row.at(index);
    if (const auto* number = std::get_if<std::int32_t>(&value)) return *number;
    const auto* number = std::get_if<std::int64_t>(&value);
    return number ? *number : 0;
}

/// With what SQLite keeps beside it.
void RemoveDatabase(const std::string& path) {
    std::error_code failed;
    for (const char* suffix : {"", "-wal", "-shm"}) std::filesystem::remove(path + suffix, failed);
}

}  // namespace

bool CachedAnswer::IsUsable() const {
    return !validators.IsEmpty() && IsPlainLine(validators.etag) && IsPlainLine(validators.last_modified) &&
           IsPlainLine(url) && IsPlainLine(content_type);
}

HttpCache::HttpCache(std::string folder, bool keeps_bodies, std::uint64_t limit)
    : folder_(std::move(folder)), keeps_bodies_(keeps_bodies), limit_(limit) {}

std::optional<CachedAnswer> HttpCache::Find(const std::string& address) {
    const auto rows =
        Read("SELECT ETag, LastModified, Url, ContentType, Fetched, Used FROM Answers WHERE Address = ?",
             {address});
    if (rows.empty()) return std::nullopt;
    CachedAnswer answer;
    answer.validators.etag = Text(rows.front(), 0);
    answer.validators.last_modified = Text(rows.front(), 1);
    answer.url = Text(rows.front(), 2);
    answer.content_type = Text(rows.front(), 3);
    answer.fetched = Number(rows.front(), 4);
    answer.used = Number(rows.front(), 5);
    return answer;
}

std::optional<Bytes> HttpCache::PackedBody(const std::string& address, const CachedAnswer& answer) {
    auto rows = Read(
        "SELECT Body FROM Answers WHERE Address = ? AND ETag = ? AND LastModified = ? AND Url = ?"
        " AND Fetched = ?",
        {address, answer.validators.etag, answer.validators.last_modified, answer.url, answer.fetched});
    auto* body = rows.empty() ? nullptr : std::get_if<Bytes>(&rows.front().front());
    if (!body) return std::nullopt;
    return std::move(*body);
}

void HttpCache::Keep(const std::string& address, const CachedAnswer& answer, Bytes packed_body) {
    // One that is this large would push out all others.
    if (packed_body.size() > limit_ / 8) {
        Forget(address);
        return;
    }
    MakeRoom(packed_body.size());
    const auto size = static_cast<std::int64_t>(packed_body.size());
    Write("INSERT OR REPLACE INTO Answers VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
          {address, answer.url, answer.validators.etag, answer.validators.last_modified, answer.content_type,
           answer.fetched, UnixTime(), size, std::move(packed_body)});
}

// An answer that confirms another need not repeat its date (RFC 9110, 15.4.5).
void HttpCache::Confirm(const std::string& address, const CachedAnswer& answer,
                        const HttpValidators& validators) {
    const auto& known = answer.validators;
    auto confirmed = answer;
    confirmed.validators = validators;
    if (confirmed.IsUsable() && validators != known &&
        (!validators.last_modified.empty() || validators.etag != known.etag))
        Write(
            "UPDATE Answers SET ETag = ?, LastModified = ? WHERE Address = ? AND ETag = ? AND LastModified"
            " = ? AND Url = ? AND Fetched = ?",
            {validators.etag, validators.last_modified, address, known.etag, known.last_modified, answer.url,
             answer.fetched});
    // Not at every run: what is read need not be written.
    if (answer.used < UnixTime() - kDay)
        Write("UPDATE Answers SET Used = ? WHERE Address = ?", {UnixTime(), address});
}

void HttpCache::Forget(const std::string& address) {
    Write("DELETE FROM Answers WHERE Address = ?", {address});
}

std::optional<std::int64_t> HttpCache::NotBefore(const std::string& address) {
    const auto rows = Read("SELECT Time FROM RetryTimes WHERE Address = ?", {address});
    if (rows.empty()) return std::nullopt;
    const auto time = Number(rows.front(), 0);
    // One that is further off was noted while the clock was wrong.
    if (time > UnixTime() && time <= UnixTime() + kLongestRetry) return time;
    Write("DELETE FROM RetryTimes WHERE Address = ?", {address});
    return std::nullopt;
}

void HttpCache::AskLater(const std::string& address, std::int64_t seconds_from_now) {
    Write("INSERT OR REPLACE INTO RetryTimes VALUES (?, ?)",
          {address, UnixTime() + std::min(seconds_from_now, kLongestRetry)});
}

HttpCache::Rows HttpCache::Read(const std::string& sql, const std::vector<Variant>& values) {
    try {
        return Run(sql, values);
    } catch (const RunTimeError& error) {
        Degrade(Use::kNone, error.Number());
        return {};
    }
}

void HttpCache::Write(const std::string& sql, const std::vector<Variant>& values) {
    if (use_ != Use::kReadAndWrite) return;
    try {
        Run(sql, values);
    } catch (const RunTimeError& error) {
        Degrade(Use::kReadOnly, error.Number());
    }
}

HttpCache::Rows HttpCache::Run(const std::string& sql, const std::vector<Variant>& values) {
    deadline_ = std::chrono::steady_clock::now() + kPatience;
    if (use_ != Use::kNone && !database_) Open();
    if (use_ == Use::kNone) return {};
    return database_->Run(database_->Prepared(sql), values);
}

void HttpCache::Open() {
    const auto use = std::exchange(use_, Use::kNone);  // what fails here is not tried again
    MakeFolder(folder_);
    const auto path = JoinPath(folder_, kFile);
    RemoveDatabase(JoinPath(folder_, kOlderFile));  // nobody reads it any more
    // For its owner alone: addresses may hold a password.
    close(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    database_ = std::make_unique<data::Database>(
        path, [this] { return std::chrono::steady_clock::now() < deadline_; });
    use_ = use;
    std::string_view tables = kTables;
    while (const auto statement = database_->TakeStatement(tables)) database_->Run(*statement, {});
}

// A damaged file goes, so that the next run has a new one.
void HttpCache::Degrade(Use what_is_left, std::int32_t error_number) {
    if (use_ != Use::kNone) use_ = what_is_left;
    if (error_number != data_error::kDamaged && error_number != data_error::kNotADatabase) return;
    use_ = Use::kNone;
    database_.reset();
    RemoveDatabase(JoinPath(folder_, kFile));
}

// In small steps, each of which is quick however much there is.
void HttpCache::MakeRoom(std::size_t for_bytes) {
    if (!size_) size_ = Sum("FROM Answers");
    *size_ += static_cast<std::int64_t>(for_bytes);
    while (use_ == Use::kReadAndWrite && *size_ > static_cast<std::int64_t>(limit_)) {
        const std::string oldest = "FROM Answers ORDER BY Used LIMIT 8)";
        const auto freed = Sum("FROM (SELECT Size " + oldest);
        if (freed == 0) return;
        Write("DELETE FROM Answers WHERE rowid IN (SELECT rowid " + oldest, {});
        *size_ -= freed;
    }
}

// Sizes in a damaged file may be anything: the sum is one that can be added to.
std::int64_t HttpCache::Sum(const std::string& from) {
    constexpr auto kMost = std::numeric_limits<std::int64_t>::max() / 4;
    const auto rows = Read("SELECT CAST(total(Size) AS INTEGER) " + from, {});
    return rows.empty() ? 0 : std::clamp(Number(rows.front(), 0), -kMost, kMost);
}

}  // namespace pellago
