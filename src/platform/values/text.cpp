#include "platform/values/text.h"

#include <QString>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

QString ToQt(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

[[noreturn]] void Raise(std::int32_t number, const char* description) {
    throw RunTimeError(number, "", description);
}

std::string_view Without(std::string_view around, std::string_view text) {
    const auto first = text.find_first_not_of(around);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(around) - first + 1);
}

std::string_view WithoutBlanks(std::string_view text) { return Without(" ", text); }

std::optional<double> Number(std::string_view text) {
    text = WithoutBlanks(text);
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) return std::nullopt;
    }
    // from_chars also knows words like "inf", which are no numbers here.
    if (text.find_first_not_of("0123456789.eE+-") != std::string_view::npos) return std::nullopt;
    double value = 0;
    const auto* end = text.data() + text.size();
    const auto [parsed, failure] = std::from_chars(text.data(), end, value);
    if (failure != std::errc() || parsed != end) return std::nullopt;
    return value;
}

/// Bytes of the UTF-8 sequence that starts with `lead`.
std::size_t SequenceLength(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    if (byte < 0x80) return 1;
    if (byte < 0xE0) return 2;
    return byte < 0xF0 ? 3 : 4;
}

}  // namespace

std::string Trim(std::string_view text) { return std::string(WithoutBlanks(text)); }

std::string_view Trimmed(std::string_view text) { return Without(kWhiteSpace, text); }

std::string LCase(std::string_view text) { return ToQt(text).toLower().toStdString(); }
std::string UCase(std::string_view text) { return ToQt(text).toUpper().toStdString(); }

bool EqualNoCase(std::string_view a, std::string_view b) {
    const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    if (std::equal(a.begin(), a.end(), b.begin(), b.end(),
                   [&](char x, char y) { return lower(x) == lower(y); }))
        return true;
    if (std::all_of(a.begin(), a.end(), is_ascii) && std::all_of(b.begin(), b.end(), is_ascii)) return false;
    return UCase(a) == UCase(b);
}

std::size_t Len(std::string_view text) {
    std::size_t units = 0;
    for (std::size_t at = 0; at < text.size(); at += SequenceLength(text[at]))
        units += SequenceLength(text[at]) == 4 ? 2U : 1U;
    return units;
}

std::string Left(std::string_view text, std::size_t count) {
    // A character takes one byte at least.
    if (text.size() <= count) return std::string(text);
    std::size_t at = 0;
    for (std::size_t units = 0; at < text.size();) {
        const auto length = SequenceLength(text[at]);
        units += length == 4 ? 2U : 1U;
        if (units > count) break;
        at += length;
    }
    return std::string(text.substr(0, at));
}

std::string Replace(std::string_view text, std::string_view find, std::string_view replacement) {
    std::string result;
    std::size_t at = 0;
    for (auto hit = text.find(find); hit != std::string_view::npos && !find.empty();
         hit = text.find(find, at)) {
        result.append(text, at, hit - at).append(replacement);
        at = hit + find.size();
    }
    return result.append(text, at);
}

bool BooleanFromText(std::string_view text) {
    const auto word = LCase(WithoutBlanks(text));
    if (word == "true") return true;
    if (word == "false") return false;
    const auto number = Number(text);
    if (!number) Raise(error_number::kTypeMismatch, "Type mismatch");
    return *number != 0;
}

std::int32_t LongFromText(std::string_view text) {
    const auto number = Number(text);
    if (!number) Raise(error_number::kTypeMismatch, "Type mismatch");
    return LongFromDouble(*number);
}

std::int32_t LongFromDouble(double value) {
    // nearbyint rounds half to even in the default rounding mode, which nothing here changes.
    const double rounded = std::nearbyint(value);
    if (!(rounded >= std::numeric_limits<std::int32_t>::min() &&
          rounded <= std::numeric_limits<std::int32_t>::max()))
        Raise(error_number::kOverflow, "Overflow");
    return static_cast<std::int32_t>(rounded);
}

std::optional<double> NumberFromText(std::string_view text) { return Number(text); }

bool IsNumeric(std::string_view text) { return Number(text).has_value(); }

std::string ValidUtf8(std::string_view bytes) { return ToQt(bytes).toStdString(); }

}  // namespace pellago
