#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

// Text rules of the run time. Strings are UTF-8; a "character" is a UTF-16 code unit.
namespace pellago {

/// Without leading and trailing blanks (U+0020 alone).
std::string Trim(std::string_view text);

/// The white space of documents and addresses (XML 1.0, production 3).
inline constexpr std::string_view kWhiteSpace = " \t\r\n";
/// A view of `text` without leading and trailing white space.
std::string_view Trimmed(std::string_view text);

std::string LCase(std::string_view text);
std::string UCase(std::string_view text);

/// True where both texts have the same upper-case form.
bool EqualNoCase(std::string_view a, std::string_view b);

/// Length in characters.
std::size_t Len(std::string_view text);

/// The first `count` characters; a cut never leaves half a surrogate pair.
std::string Left(std::string_view text, std::size_t count);

std::string Replace(std::string_view text, std::string_view find, std::string_view replacement);

/// "True" and "False" without regard to case, else a number, 0 being false.
/// Throws RunTimeError 13 "Type mismatch" for any other text.
bool BooleanFromText(std::string_view text);

/// A number, blanks around it allowed, rounded half to even ("2.5" is 2). Throws RunTimeError 13 for a text
/// that is no number, 6 "Overflow" outside the 32-bit range.
std::int32_t LongFromText(std::string_view text);

/// Half to even; throws RunTimeError 6 "Overflow" outside the 32-bit range.
std::int32_t LongFromDouble(double value);

/// What a text reads as, blanks around it allowed; nothing for a text that is no number.
std::optional<double> NumberFromText(std::string_view text);

bool IsNumeric(std::string_view text);

/// Bytes that are not UTF-8 become U+FFFD.
std::string ValidUtf8(std::string_view bytes);

}  // namespace pellago
