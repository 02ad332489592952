#include "platform/values/terminal_text.h"

#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kDeletePicture = "\xE2\x90\xA1";

/// The picture of a control character below U+0020: U+2400 plus its code.
std::string Picture(unsigned char control) { return {'\xE2', '\x90', static_cast<char>(0x80 + control)}; }

}  // namespace

std::string TerminalText(std::string_view text) {
    const auto valid = ValidUtf8(text);
    std::string result;
    result.reserve(valid.size());
    for (std::size_t at = 0; at < valid.size(); ++at) {
        const auto byte = static_cast<unsigned char>(valid[at]);
        const auto next = at + 1 < valid.size() ? static_cast<unsigned char>(valid[at + 1]) : 0U;
        if (byte == '\r' && next == '\n') continue;
        if (byte == 0xC2 && next < 0xA0) {
            // U+0080 to U+009F: terminals may take them for escape sequences of one character.
            result += kReplacement;
            ++at;
        } else if (byte == 0x7F) {
            result += kDeletePicture;
        } else if (byte < 0x20 && byte != '\n' && byte != '\t') {
            result += Picture(byte);
        } else {
            result += valid[at];
        }
    }
    return result;
}

}  // namespace pellago
