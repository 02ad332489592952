#include "http_cache.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <utility>

#include "platform/data/connection.h"
#include "platform/files/program.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

constexpr const char* kFile = "http-1.sqlite";  // the number is that of the tables' form
constexpr const char* kTables =
    "CREATE TABLE IF NOT EXISTS Answers (Address TEXT PRIMARY KEY, Url TEXT, ETag TEXT, LastModified TEXT,"
    " ContentType TEXT, Fetched REAL, Used REAL, Size REAL, Body TEXT);"
    "CREATE INDEX IF NOT EXISTS AnswersByUse ON Answers (Used, Size);"
    "CREATE TABLE IF NOT EXISTS RetryTimes (Address TEXT PRIMARY KEY, Time REAL)";

constexpr auto kPatience = std::chrono::milliseconds(100);  // with a lock of another process, or a slow disk
constexpr std::size_t kLongestLine = 4096;                  // bytes
constexpr double kDay = 24 * 60 * 60;                       // seconds
constexpr double kLongestRetry = 7 * kDay;

double UnixTime() { return static_cast<double>(std::time(nullptr)); }

bool IsPlainLine(const std::string& text) {
    return text.size() <= kLongestLine &&
           std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; });
}

// A damaged file may have values of any type: what should be a text and is none is empty, and so of no use.
std::string Text(const data::Row& row, std::size_t index) {
    const auto* text = std::get_if<std::string>(&row.at(index));
    return text ? *text : std::string();
}

double Number(const data::Row& row, std::size_t index) {
    const auto* number = std::get_if<double>(&row.at(index));
    return number ? *number : 0;
}

}  // namespace

bool CachedAnswer::IsUsable() const {
    return !validators.IsEmpty() && IsPlainLine(validators.etag) && IsPlainLine(validators.last_modified) &&
           IsPlainLine(url) && IsPlainLine(content_type);
}

HttpStore::HttpStore(std::string folder, bool caches, std::uint64_t limit)
    : folder_(std::move(folder)), caches_(caches), limit_(limit) {}

std::optional<CachedAnswer> HttpStore::Find(const std::string& address) {
    const auto rows =
        Read("SELECT ETag, LastModified, Url, ContentType, Fetched, Used FROM Answers WHERE Address = ?",
             {address});
    if (rows.empty()) return std::nullopt;
    const auto time = [&](std::size_t index) {
        return static_cast<std::int64_t>(Number(rows.front(), index));
    };
    CachedAnswer answer;
    answer.validators.etag = Text(rows.front(), 0);
    answer.validators.last_modified = Text(rows.front(), 1);
    answer.url = Text(rows.front(), 2);
    answer.content_type = Text(rows.front(), 3);
    answer.fetched = time(4);
    answer.used = time(5);
    return answer;
}

std::optional<std::string> HttpStore::PackedBody(const std::string& address, const CachedAnswer& answer) {
    const auto rows = Read(
        "SELECT Body FROM Answers WHERE Address = ? AND ETag = ? AND LastModified = ? AND Url = ?"
        " AND Fetched = ?",
        {address, answer.validators.etag, answer.validators.last_modified, answer.url,
         static_cast<double>(answer.fetched)});
    if (rows.empty()) return std::nullopt;
    return Text(rows.front(), 0);
}

void HttpStore::Keep(const std::string& address, const CachedAnswer& answer, const std::string& packed_body) {
    // One that is this large would push out all others.
    if (packed_body.size() > limit_ / 8) {
        Forget(address);
        return;
    }
    MakeRoom(packed_body.size());
    Write("INSERT OR REPLACE INTO Answers VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
          {address, answer.url, answer.validators.etag, answer.validators.last_modified, answer.content_type,
           static_cast<double>(answer.fetched), UnixTime(), static_cast<double>(packed_body.size()),
           packed_body});
}

// An answer that confirms another need not repeat its date (RFC 9110, 15.4.5).
void HttpStore::Confirm(const std::string& address, const CachedAnswer& answer,
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
             static_cast<double>(answer.fetched)});
    // Not at every run: what is read need not be written.
    if (static_cast<double>(answer.used) < UnixTime() - kDay)
        Write("UPDATE Answers SET Used = ? WHERE Address = ?", {UnixTime(), address});
}

void HttpStore::Forget(const std::string& address) {
    Write("DELETE FROM Answers WHERE Address = ?", {address});
}

std::optional<std::int64_t> HttpStore::NotBefore(const std::string& address) {
    const auto rows = Read("SELECT Time FROM RetryTimes WHERE Address = ?", {address});
    if (rows.empty()) return std::nullopt;
    const auto time = Number(rows.front(), 0);
    // One that is further off was noted while the clock was wrong.
    if (time > UnixTime() && time <= UnixTime() + kLongestRetry) return static_cast<std::int64_t>(time);
    Write("DELETE FROM RetryTimes WHERE Address = ?", {address});
    return std::nullopt;
}

void HttpStore::AskLater(const std::string& address, std::int64_t seconds_from_now) {
    Write("INSERT OR REPLACE INTO RetryTimes VALUES (?, ?)",
          {address, UnixTime() + std::min(static_cast<double>(seconds_from_now), kLongestRetry)});
}

HttpStore::Rows HttpStore::Read(const std::string& sql, const std::vector<Variant>& values) {
    try {
        return Run(sql, values);
    } catch (const RunTimeError& error) {
        usable_ = false;
        Abandon(error.Number());
        return {};
    }
}

void HttpStore::Write(const std::string& sql, const std::vector<Variant>& values) {
    if (!writable_) return;
    try {
        Run(sql, values);
    } catch (const RunTimeError& error) {
        writable_ = false;
        Abandon(error.Number());
    }
}

HttpStore::Rows HttpStore::Run(const std::string& sql, const std::vector<Variant>& values) {
    deadline_ = std::chrono::steady_clock::now() + kPatience;
    if (usable_ && !database_) Open();
    if (!usable_) return {};
    return database_->Run(database_->Prepared(sql), values);
}

void HttpStore::Open() {
    usable_ = false;
    MakeFolder(folder_);
    const auto path = JoinPath(folder_, kFile);
    // For its owner alone: addresses may hold a password.
    close(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    database_ = std::make_unique<data::Database>(
        path, [this] { return std::chrono::steady_clock::now() < deadline_; });
    usable_ = true;
    std::string_view tables = kTables;
    while (const auto statement = database_->TakeStatement(tables)) database_->Run(*statement, {});
}

// What is damaged goes, so that the next run has a new one.
void HttpStore::Abandon(std::int32_t error_number) {
    if (error_number != data_error::kDamaged && error_number != data_error::kNotADatabase) return;
    usable_ = false;
    database_.reset();
    std::error_code failed;
    for (const char* suffix : {"", "-wal", "-shm"})
        std::filesystem::remove(JoinPath(folder_, kFile) + suffix, failed);
}

// In small steps, each of which is quick however much there is.
void HttpStore::MakeRoom(std::size_t for_bytes) {
    if (!size_) size_ = Sum("SELECT total(Size) FROM Answers");
    *size_ += static_cast<double>(for_bytes);
    while (usable_ && writable_ && *size_ > static_cast<double>(limit_)) {
        const std::string oldest = "FROM Answers ORDER BY Used LIMIT 8)";
        const auto freed = Sum("SELECT total(Size) FROM (SELECT Size " + oldest);
        if (freed == 0) return;
        Write("DELETE FROM Answers WHERE rowid IN (SELECT rowid " + oldest, {});
        *size_ -= freed;
    }
}

double HttpStore::Sum(const std::string& sql) {
    const auto rows = Read(sql, {});
    return rows.empty() ? 0 : Number(rows.front(), 0);
}

}  // namespace pellago
