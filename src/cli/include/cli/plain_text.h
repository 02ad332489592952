#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace pellago::cli {

/// Text from feeds, lists and files as it may stand in a line of output: one line, valid UTF-8, without
/// control characters, line separators and the characters that turn the direction of writing.
std::string PlainLine(std::string_view text);

/// A plain line cut to `columns` code points, the last one an ellipsis where something was cut.
std::string Shortened(std::string_view line, std::size_t columns);

}  // namespace pellago::cli
