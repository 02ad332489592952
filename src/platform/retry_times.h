#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace pellago {

/// When servers have asked to be asked again (Retry-After, RFC 9110, 10.2.3), kept in files beside the cache.
class RetryTimes final {
public:
    explicit RetryTimes(std::filesystem::path folder);

    /// In seconds of Unix time; nothing when the address may be asked for.
    std::optional<std::int64_t> NotBefore(const std::string& address) const;
    /// At most a week is believed.
    void Note(const std::string& address, std::int64_t seconds_from_now);

private:
    std::filesystem::path FileOf(const std::string& address) const;

    std::filesystem::path folder_;
};

}  // namespace pellago
