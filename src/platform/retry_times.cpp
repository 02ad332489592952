#include "retry_times.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <system_error>

#include "http_cache.h"
#include "platform/process.h"

namespace pellago {
namespace {

constexpr std::int64_t kLongest = std::int64_t{7} * 24 * 60 * 60;  // seconds

}  // namespace

RetryTimes::RetryTimes(std::filesystem::path folder) : folder_(std::move(folder)) {}

std::optional<std::int64_t> RetryTimes::NotBefore(const std::string& address) const {
    const auto path = FileOf(address);
    std::ifstream file(path);
    std::int64_t time = 0;
    if (!(file >> time)) return std::nullopt;
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    // One that is further off was noted while the clock was wrong.
    if (time > now && time <= now + kLongest) return time;
    std::error_code failed;
    std::filesystem::remove(path, failed);
    return std::nullopt;
}

void RetryTimes::Note(const std::string& address, std::int64_t seconds_from_now) {
    MakeFolder(folder_.string());
    const auto time = static_cast<std::int64_t>(std::time(nullptr)) + std::min(seconds_from_now, kLongest);
    WriteCacheFile(FileOf(address), std::to_string(time) + '\n');
}

std::filesystem::path RetryTimes::FileOf(const std::string& address) const {
    return folder_ / (CacheFileName(address) + ".later");
}

}  // namespace pellago
