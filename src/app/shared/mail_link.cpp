#include "app/shared/mail_link.h"

#include <array>
#include <utility>

#include "platform/values/text.h"

namespace pellago {
namespace {

// Not "%": what is escaped already would be escaped twice.
constexpr std::array<std::pair<const char*, const char*>, 7> kEscapes = {
    {{"\r\n", "%0A"}, {"\t", "%09"}, {":", "%3A"}, {"/", "%2F"}, {"?", "%3F"}, {"=", "%3D"}, {"&", "%26"}}};

std::string Escaped(std::string text) {
    for (const auto& [plain, escaped] : kEscapes) text = Replace(text, plain, escaped);
    return text;
}

}  // namespace

std::string ReportMailLink(const std::string& address, const std::string& subject, const std::string& text) {
    const std::string dashes(20, '-');
    const auto body = "%0A%0A" + dashes + "%0A" + Escaped(text) + "%0A" + dashes;
    return "mailto:" + address + "?subject=" + subject + "&body=" + body;
}

}  // namespace pellago
