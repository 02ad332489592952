#include "platform/values/variant.h"

#include <array>
#include <charconv>

#include "platform/values/run_time_error.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

[[noreturn]] void RaiseTypeMismatch() {
    throw RunTimeError(error_number::kTypeMismatch, "", "Type mismatch");
}
[[noreturn]] void RaiseInvalidNull() { throw RunTimeError(94, "", "Invalid use of Null"); }

template <class... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

constexpr double kSecondsPerDay = 86400;

std::string NumberText(double value) {
    std::array<char, 32> text{};
    // 15 digits: what a double surely carries, so that 0.1 is "0.1".
    const auto [end, failure] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, 15);
    return failure == std::errc() ? std::string(text.data(), end) : std::string();
}

}  // namespace

std::string_view TypeName(const Variant& value) {
    static constexpr std::array<std::string_view, 8> kNames = {"Null",   "Boolean", "Long",   "LongLong",
                                                               "Double", "Date",    "String", "Byte()"};
    return kNames.at(value.index());
}

std::string CStr(const Variant& value) {
    return std::visit(Overloaded{
                          [](Null) -> std::string { RaiseInvalidNull(); },
                          [](bool b) -> std::string { return b ? "True" : "False"; },
                          [](std::int32_t i) { return std::to_string(i); },
                          [](std::int64_t i) { return std::to_string(i); },
                          [](double d) { return NumberText(d); },
                          [](DateTime d) { return DefaultText(d); },
                          [](const std::string& s) { return s; },
                          [](const Bytes&) -> std::string { RaiseTypeMismatch(); },
                      },
                      value);
}

std::int32_t CLng(const Variant& value) {
    return std::visit(
        Overloaded{
            [](Null) -> std::int32_t { RaiseInvalidNull(); },
            [](bool b) -> std::int32_t { return b ? -1 : 0; },
            [](std::int32_t i) { return i; },
            [](std::int64_t i) { return LongFromDouble(static_cast<double>(i)); },
            [](double d) { return LongFromDouble(d); },
            [](DateTime d) { return LongFromDouble(static_cast<double>(d.Seconds()) / kSecondsPerDay); },
            [](const std::string& s) { return LongFromText(s); },
            [](const Bytes&) -> std::int32_t { RaiseTypeMismatch(); },
        },
        value);
}

bool CBool(const Variant& value) {
    return std::visit(Overloaded{
                          [](Null) -> bool { RaiseInvalidNull(); },
                          [](bool b) { return b; },
                          [](std::int32_t i) { return i != 0; },
                          [](std::int64_t i) { return i != 0; },
                          [](double d) { return d != 0; },
                          [](DateTime d) { return d.Seconds() != 0; },
                          [](const std::string& s) { return BooleanFromText(s); },
                          [](const Bytes&) -> bool { RaiseTypeMismatch(); },
                      },
                      value);
}

DateTime CDate(const Variant& value) {
    if (IsNull(value)) RaiseInvalidNull();
    if (const auto* date = std::get_if<DateTime>(&value)) return *date;
    if (const auto* text = std::get_if<std::string>(&value))
        if (const auto date = FromColumnText(*text)) return *date;
    RaiseTypeMismatch();
}

}  // namespace pellago
