#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/values/date_time.h"

namespace pellago {

struct Null {
    friend constexpr bool operator==(Null, Null) = default;
};
using Bytes = std::vector<std::uint8_t>;

/// A value whose type is known at run time only: a column, a parameter, a setting. A 64-bit integer is one
/// that 32 bits cannot hold.
using Variant = std::variant<Null, bool, std::int32_t, std::int64_t, double, DateTime, std::string, Bytes>;

inline bool IsNull(const Variant& value) { return std::holds_alternative<Null>(value); }

/// "Null", "Boolean", "Long", "LongLong", "Double", "Date", "String" or "Byte()".
std::string_view TypeName(const Variant& value);

/// Conversions as the run time makes them. Null raises RunTimeError 94 "Invalid use of Null"; what does not
/// convert raises 13 "Type mismatch", what is out of range 6 "Overflow".
std::string CStr(const Variant& value);  ///< Booleans are "True" and "False"
std::int32_t CLng(const Variant& value);
bool CBool(const Variant& value);
DateTime CDate(const Variant& value);  ///< texts in the form of date columns

}  // namespace pellago
