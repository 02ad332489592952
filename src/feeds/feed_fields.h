#pragma once

#include <string>
#include <string_view>

#include "platform/xml/xml_document.h"

namespace pellago {

/// The text of the first match of `path`; a path that finds nothing leaves the field as it is.
inline void ReadField(const XmlNode& node, std::string_view path, std::string& field) {
    if (const auto found = node.SelectSingleNode(path)) field = found->Text();
}

/// True for a date text that the feed has not given.
inline bool IsMissingDate(std::string_view text) { return text.empty() || text == "N/A"; }

}  // namespace pellago
