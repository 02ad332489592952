#pragma once

#include <string>

namespace pellago {

/// A "mailto:" link whose body is `text` between two dashed lines. `subject` stands in the link as it is; of
/// the text, line breaks (CR LF), tabs and : / ? = & are escaped (after RFC 6068), everything else stays.
std::string ReportMailLink(const std::string& address, const std::string& subject, const std::string& text);

}  // namespace pellago
