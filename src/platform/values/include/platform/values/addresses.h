#pragma once

#include <filesystem>
#include <string>
#include <string_view>

// Addresses of feeds, pages and files. White space around an address never counts, except to SchemeOf and
// HostOf, which take an address that has none.
namespace pellago {

/// The scheme that an address begins with (RFC 3986, 3.1), in lower case; empty for a text without one, such
/// as a path.
std::string SchemeOf(std::string_view address);

/// The host that an address names, in lower case and without its port; empty where it names none.
std::string HostOf(std::string_view address);

/// Where a document is, by the address that a person gave.
struct DocumentAddress {
    enum class Kind { kHttp, kFile, kUnsupported };
    Kind kind = Kind::kUnsupported;
    std::string location;  ///< URL, path in the file system, or why there is neither
};

/// Knows http and https addresses, file addresses (RFC 8089, of this machine) and plain paths.
DocumentAddress ParseAddress(std::string_view address);

/// The address on the web in the first line of a text, a "feed:" before it undone, scheme and host in lower
/// case. Empty where that line is no such address: of another scheme than http and https, without a host, not
/// valid, or with white space inside.
std::string WebAddress(std::string_view text);

/// The address under which a feed is kept: a "feed:" before it undone, a path (relative to `folder`,
/// percent-encoded or not) as a file address. Empty for an empty text.
std::string FeedAddress(std::string_view text, const std::filesystem::path& folder);

/// The address of a file (RFC 8089), whatever encoding its name has: the path is made absolute and
/// percent-encoded byte by byte.
std::string FileAddress(const std::filesystem::path& path);

}  // namespace pellago
