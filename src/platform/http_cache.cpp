#include "http_cache.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <system_error>
#include <vector>

#include "platform/process.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFirstLine = "Pellago-Cache: 1";
constexpr std::string_view kAnswer = ".answer";
constexpr std::string_view kUnfinished = ".new";
constexpr std::size_t kLongestValue = 4096;  // bytes

/// Values go into lines of a file, and back into lines of a request.
bool IsPlainLine(const std::string& text) {
    return text.size() <= kLongestValue &&
           std::ranges::none_of(text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; });
}

/// The lines above the body.
std::string Head(const std::string& address, const CachedAnswer& answer) {
    std::ostringstream lines;
    lines << kFirstLine << "\nAddress: " << address << "\nUrl: " << answer.url
          << "\nETag: " << answer.validators.etag << "\nLast-Modified: " << answer.validators.last_modified
          << "\nContent-Type: " << answer.content_type << "\nFetched: " << answer.fetched << "\n\n";
    return lines.str();
}

/// What stands in the next line after `name`; nothing when it is another line or the last.
std::optional<std::string> TakeLine(std::istream& file, std::string_view name) {
    std::string line;
    if (!std::getline(file, line) || file.eof() || !line.starts_with(name)) return std::nullopt;
    return line.substr(name.size());
}

/// Leaves the file at its body.
std::optional<CachedAnswer> ReadHead(std::istream& file, const std::string& address) {
    if (TakeLine(file, kFirstLine) != "" || TakeLine(file, "Address: ") != address) return std::nullopt;
    const auto url = TakeLine(file, "Url: ");
    const auto etag = TakeLine(file, "ETag: ");
    const auto last_modified = TakeLine(file, "Last-Modified: ");
    const auto content_type = TakeLine(file, "Content-Type: ");
    const auto fetched = TakeLine(file, "Fetched: ");
    if (!fetched || TakeLine(file, "") != "") return std::nullopt;
    CachedAnswer answer{{*etag, *last_modified}, *url, *content_type, 0};
    const auto* end = fetched->data() + fetched->size();
    if (std::from_chars(fetched->data(), end, answer.fetched).ptr != end) return std::nullopt;
    return answer;
}

std::string RestOf(std::istream& file) {
    std::ostringstream rest;
    rest << file.rdbuf();
    return std::move(rest).str();
}

struct CacheFile {
    fs::path path;
    std::uint64_t size;
    fs::file_time_type used;
};

/// Those that are left unfinished by a process that was killed are removed on the way.
std::vector<CacheFile> FilesOf(const fs::path& folder) {
    std::vector<CacheFile> files;
    std::error_code failed;
    const auto long_ago = fs::file_time_type::clock::now() - std::chrono::hours(1);
    for (const auto& entry : fs::directory_iterator(folder, failed)) {
        const auto used = entry.last_write_time(failed);
        const auto size = entry.file_size(failed);
        if (failed) continue;
        if (entry.path().extension() == kUnfinished && used < long_ago)
            fs::remove(entry.path(), failed);
        else if (entry.path().extension() == kAnswer)
            files.push_back({entry.path(), size, used});
    }
    return files;
}

}  // namespace

bool CachedAnswer::IsUsable() const {
    return !validators.IsEmpty() && IsPlainLine(validators.etag) && IsPlainLine(validators.last_modified) &&
           IsPlainLine(url) && IsPlainLine(content_type);
}

std::string CacheFileName(const std::string& address) {
    return QCryptographicHash::hash(QByteArray::fromStdString(address), QCryptographicHash::Sha256)
        .toHex()
        .left(40)
        .toStdString();
}

bool WriteCacheFile(const fs::path& file, std::string_view bytes) {
    const auto unfinished = file.string() + "." + std::to_string(getpid()) + std::string(kUnfinished);
    // For its owner alone: addresses may hold a password.
    const int descriptor = open(unfinished.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) return false;
    const auto written = write(descriptor, bytes.data(), bytes.size());
    const bool whole = close(descriptor) == 0 && written == static_cast<ssize_t>(bytes.size());
    if (whole && rename(unfinished.c_str(), file.c_str()) == 0) return true;
    unlink(unfinished.c_str());
    return false;
}

HttpCache::HttpCache(fs::path folder, std::uint64_t limit) : folder_(std::move(folder)), limit_(limit) {}

std::optional<CachedAnswer> HttpCache::Find(const std::string& address) const {
    std::ifstream file(FileOf(address), std::ios::binary);
    return file ? ReadHead(file, address) : std::nullopt;
}

std::optional<std::string> HttpCache::PackedBody(const std::string& address,
                                                 const CachedAnswer& answer) const {
    std::ifstream file(FileOf(address), std::ios::binary);
    if (!file || ReadHead(file, address) != answer) return std::nullopt;
    return RestOf(file);
}

void HttpCache::Keep(const std::string& address, const CachedAnswer& answer, std::string_view packed_body) {
    Write(address, Head(address, answer).append(packed_body));
}

void HttpCache::Confirm(const std::string& address, const CachedAnswer& answer,
                        const HttpValidators& validators) {
    if (validators.IsEmpty() || validators == answer.validators ||
        (validators.last_modified.empty() && validators.etag == answer.validators.etag)) {
        utimensat(AT_FDCWD, FileOf(address).c_str(), nullptr, 0);
        return;
    }
    const auto body = PackedBody(address, answer);
    auto confirmed = answer;
    confirmed.validators = validators;
    if (body) Keep(address, confirmed, *body);
}

void HttpCache::Forget(const std::string& address) {
    std::error_code failed;
    fs::remove(FileOf(address), failed);
}

fs::path HttpCache::FileOf(const std::string& address) const {
    return folder_ / (CacheFileName(address) + std::string(kAnswer));
}

void HttpCache::Write(const std::string& address, const std::string& bytes) {
    // One that is this large would push out all others.
    if (!writable_ || bytes.size() > limit_ / 8) {
        Forget(address);
        return;
    }
    if (!size_) CountSizes();
    writable_ = WriteCacheFile(FileOf(address), bytes);
    if (!writable_) return;
    *size_ += bytes.size();
    if (*size_ > limit_) MakeRoom();
}

void HttpCache::CountSizes() {
    MakeFolder(folder_.string());
    size_ = 0;
    for (const auto& file : FilesOf(folder_)) *size_ += file.size;
}

// Down to nine tenths, so that this is not done at every answer.
void HttpCache::MakeRoom() {
    auto files = FilesOf(folder_);
    std::ranges::sort(files, {}, &CacheFile::used);
    size_ = 0;
    for (const auto& file : files) *size_ += file.size;
    for (const auto& file : files) {
        if (*size_ <= limit_ / 10 * 9) return;
        std::error_code failed;
        if (fs::remove(file.path, failed)) *size_ -= file.size;
    }
}

}  // namespace pellago
