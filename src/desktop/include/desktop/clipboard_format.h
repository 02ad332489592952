#pragma once

#include <cstdint>
#include <string>

class QMimeData;

namespace pellago {

/// The standard text format.
inline constexpr std::uint16_t CF_TEXT = 1;

/// The number of a named format, 0xC000 to 0xFFFF: the same for the same name, whose case does not count.
/// 0 for an empty name.
std::uint16_t RegisterClipboardFormat(const std::string& name);

/// Whether data that is dragged or on the clipboard can be had in that format. "UniformResourceLocator" is
/// what desktops offer as text/uri-list (RFC 2483), text/x-moz-url or _NETSCAPE_URL; any other name stands
/// for itself.
bool IsFormatOffered(const QMimeData& data, std::uint16_t format);

/// The data as plain text; of data that offers a link alone, the first link. Empty when there is none.
std::string PlainTextOf(const QMimeData& data);

}  // namespace pellago
