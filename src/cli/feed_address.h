#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace pellago::cli {

/// The address under which a feed is kept: without blanks around it, a "feed:" before it undone, a path
/// (relative to `folder`, percent-encoded or not) as a file address. Empty for an empty text.
std::string FeedAddress(std::string_view text, const std::filesystem::path& folder);

/// The absolute file address of a path (RFC 8089), percent-encoded.
std::string FileAddress(const std::filesystem::path& path);

}  // namespace pellago::cli
