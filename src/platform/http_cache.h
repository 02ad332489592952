#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace pellago {

/// What an answer says of its body's version (RFC 9110, 8.8), byte for byte; sent back, always both of one
/// answer.
struct HttpValidators {
    std::string etag;
    std::string last_modified;

    bool IsEmpty() const { return etag.empty() && last_modified.empty(); }
    bool operator==(const HttpValidators&) const = default;
};

/// What is known of the last whole answer to an address.
struct CachedAnswer {
    HttpValidators validators;
    std::string url;           ///< that answered, after redirects
    std::string content_type;  ///< as sent
    std::int64_t fetched = 0;  ///< when, in seconds of Unix time

    /// Whether it can be kept in lines of text and sent back: no control characters, no endless validators.
    bool IsUsable() const;
    bool operator==(const CachedAnswer&) const = default;
};

/// Whole answers to addresses, each in a file of its own in a folder that may be deleted at any time, also
/// file by file, and that several processes may use at once. Whatever fails here is as if nothing were
/// cached.
class HttpCache final {
public:
    /// `limit` bounds the sizes of all files together, in bytes; what was not asked for for the longest time
    /// goes.
    HttpCache(std::filesystem::path folder, std::uint64_t limit);

    std::optional<CachedAnswer> Find(const std::string& address) const;
    /// The packed body of exactly this answer; nothing when another has taken its place.
    std::optional<std::string> PackedBody(const std::string& address, const CachedAnswer& answer) const;

    void Keep(const std::string& address, const CachedAnswer& answer, std::string_view packed_body);
    /// The server has said that `answer` still holds; `validators` are what it said with that.
    void Confirm(const std::string& address, const CachedAnswer& answer, const HttpValidators& validators);
    void Forget(const std::string& address);

private:
    std::filesystem::path FileOf(const std::string& address) const;
    void Write(const std::string& address, const std::string& bytes);
    void CountSizes();
    void MakeRoom();

    std::filesystem::path folder_;
    std::uint64_t limit_;
    std::optional<std::uint64_t>
        size_;  ///< of all files, once it is needed; an estimate where others write too
    bool writable_ = true;
};

/// The name of the file that keeps something of an address, without an extension.
std::string CacheFileName(const std::string& address);

/// Puts a file into the folder, whole or not at all; false when that is not possible.
bool WriteCacheFile(const std::filesystem::path& file, std::string_view bytes);

}  // namespace pellago
