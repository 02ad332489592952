#include "cli/plain_text.h"

#include "platform/values/terminal_text.h"

namespace pellago::cli {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::string_view kEllipsis = "\xE2\x80\xA6";

bool ContinuesCodePoint(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// U+202A to U+202E, U+2066 to U+2069: after them a terminal may show text in another order than it has.
bool TurnsDirection(std::string_view code_point) {
    return (code_point >= "\xE2\x80\xAA" && code_point <= "\xE2\x80\xAE") ||
           (code_point >= "\xE2\x81\xA6" && code_point <= "\xE2\x81\xA9");
}

bool BreaksLine(std::string_view code_point) {
    return code_point == "\n" || code_point == "\t" || code_point == "\xE2\x80\xA8" ||
           code_point == "\xE2\x80\xA9";
}

std::size_t CodePointEnd(std::string_view text, std::size_t begin) {
    auto end = begin + 1;
    while (end < text.size() && ContinuesCodePoint(text[end])) ++end;
    return end;
}

}  // namespace

std::string PlainLine(std::string_view text) {
    const auto safe = TerminalText(text);
    std::string line;
    line.reserve(safe.size());
    for (std::size_t at = 0, end = 0; at < safe.size(); at = end) {
        end = CodePointEnd(safe, at);
        const auto code_point = std::string_view(safe).substr(at, end - at);
        if (BreaksLine(code_point))
            line += ' ';
        else
            line += TurnsDirection(code_point) ? kReplacement : code_point;
    }
    return line;
}

std::string Shortened(std::string_view line, std::size_t columns) {
    std::size_t last = 0;
    std::size_t at = 0;
    for (std::size_t count = 0; count < columns && at < line.size(); ++count) {
        last = at;
        at = CodePointEnd(line, at);
    }
    if (at == line.size()) return std::string(line);
    return std::string(line.substr(0, last)).append(kEllipsis);
}

}  // namespace pellago::cli
