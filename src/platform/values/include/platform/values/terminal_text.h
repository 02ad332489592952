#pragma once

#include <string>
#include <string_view>

namespace pellago {

/// `text` as it may be written to a terminal. Line breaks (LF, CR LF as LF) and tabs stay; every other
/// control character becomes its visible picture (ESC is U+241B). Control characters that have no picture,
/// and bytes that are not UTF-8, become U+FFFD.
std::string TerminalText(std::string_view text);

}  // namespace pellago
