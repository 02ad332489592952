#include "platform/values/date_time.h"

#include <locale.h>

#include <array>
#include <charconv>
#include <chrono>
#include <ctime>
#include <memory>
#include <utility>

#include "platform/values/replaceable.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

using std::chrono::days;
using std::chrono::sys_days;

constexpr std::int64_t kSecondsPerDay = 86400;
constexpr sys_days kZeroDay = std::chrono::year{1899} / 12 / 30;

constexpr std::int64_t SecondsAt(int year) {
    return (sys_days{std::chrono::year{year} / 1 / 1} - kZeroDay).count() * kSecondsPerDay;
}

std::tm BrokenDown(DateTime date) {
    const auto seconds = date.Seconds();
    const auto day =
        seconds >= 0 ? seconds / kSecondsPerDay : (seconds - kSecondsPerDay + 1) / kSecondsPerDay;
    const auto time = seconds - day * kSecondsPerDay;
    const std::chrono::year_month_day ymd{kZeroDay + days{day}};
    std::tm parts{};
    parts.tm_year = static_cast<int>(ymd.year()) - 1900;
    parts.tm_mon = static_cast<int>(static_cast<unsigned>(ymd.month())) - 1;
    parts.tm_mday = static_cast<int>(static_cast<unsigned>(ymd.day()));
    parts.tm_wday = static_cast<int>(std::chrono::weekday{sys_days{ymd}}.c_encoding());
    parts.tm_hour = static_cast<int>(time / 3600);
    parts.tm_min = static_cast<int>(time / 60 % 60);
    parts.tm_sec = static_cast<int>(time % 60);
    return parts;
}

DateTime FromBrokenDown(const std::tm& parts) {
    return ComposeDate(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min,
                       parts.tm_sec);
}

std::string Formatted(DateTime date, const char* format) {
    static const locale_t locale = [] {
        const auto users = newlocale(LC_TIME_MASK, "", nullptr);
        return users ? users : newlocale(LC_TIME_MASK, "C", nullptr);
    }();
    const auto parts = BrokenDown(date);
    std::array<char, 128> text{};
    return {text.data(), strftime_l(text.data(), text.size(), format, &parts, locale)};
}

/// The number of `length` digits at `at`, or -1.
int Digits(std::string_view text, std::size_t at, std::size_t length) {
    if (at + length > text.size()) return -1;
    int value = 0;
    const auto* first = text.data() + at;
    const auto [end, failure] = std::from_chars(first, first + length, value);
    return failure == std::errc() && end == first + length && value >= 0 ? value : -1;
}

DateTime SystemNow() {
    const auto now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    return FromBrokenDown(parts);
}

TimeZoneInformation SystemTimeZone() {
    const auto now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    const auto west = static_cast<std::int32_t>(-parts.tm_gmtoff / 60);
    TimeZoneInformation zone;
    zone.bias = west;
    if (parts.tm_isdst > 0) {
        // `timezone` is the bias of standard time, and the rest of the bias in effect is the daylight part.
        zone.bias = static_cast<std::int32_t>(timezone / 60);
        zone.daylight_bias = west - zone.bias;
        zone.daylight_in_effect = true;
    }
    // Readers only ask whether there is such a month. Which one it is the system does not tell.
    zone.daylight_month = daylight != 0 ? 3 : 0;
    return zone;
}

Replaceable system_clock(SystemNow);
Replaceable zone_of_machine(SystemTimeZone);

}  // namespace

DateTime DateTime::FromSeconds(std::int64_t seconds) {
    if (seconds < SecondsAt(100) || seconds >= SecondsAt(10000))
        throw RunTimeError(error_number::kInvalidProcedureCall, "", "Invalid procedure call or argument");
    DateTime date;
    date.seconds_ = seconds;
    return date;
}

DateTime DateTime::AddMinutes(std::int64_t minutes) const { return FromSeconds(seconds_ + minutes * 60); }

DateTime ComposeDate(int year, int month, int day, int hour, int minute, int second) {
    const auto months = std::int64_t{year} * 12 + month - 1;
    const auto full_year = (months >= 0 ? months : months - 11) / 12;
    // Beyond what the calendar type holds, and far outside our own range.
    if (full_year < -30000 || full_year > 30000)
        throw RunTimeError(error_number::kInvalidProcedureCall, "", "Invalid procedure call or argument");
    const sys_days first = std::chrono::year{static_cast<int>(full_year)} /
                           std::chrono::month{static_cast<unsigned>(months - full_year * 12 + 1)} / 1;
    const auto day_number = (first - kZeroDay).count() + std::int64_t{day} - 1;
    return DateTime::FromSeconds(day_number * kSecondsPerDay + std::int64_t{hour} * 3600 +
                                 std::int64_t{minute} * 60 + second);
}

DateTime Now() { return system_clock(); }

std::int64_t UnixTime() { return static_cast<std::int64_t>(std::time(nullptr)); }

void ReplaceClock(std::function<DateTime()> clock) { system_clock.Replace(std::move(clock)); }

std::string ColumnText(DateTime date) {
    const auto parts = BrokenDown(date);
    std::string text = "0000-00-00 00:00:00";
    const auto put = [&](std::size_t end, int number) {
        for (; number > 0; number /= 10) text[--end] = static_cast<char>('0' + number % 10);
    };
    put(4, parts.tm_year + 1900);
    put(7, parts.tm_mon + 1);
    put(10, parts.tm_mday);
    put(13, parts.tm_hour);
    put(16, parts.tm_min);
    put(19, parts.tm_sec);
    return text;
}

std::optional<DateTime> FromColumnText(std::string_view text) {
    const bool has_time = text.size() == 19 && text[10] == ' ' && text[13] == ':' && text[16] == ':';
    if ((text.size() != 10 && !has_time) || text[4] != '-' || text[7] != '-') return std::nullopt;
    const int year = Digits(text, 0, 4);
    const int month = Digits(text, 5, 2);
    const int day = Digits(text, 8, 2);
    const int hour = has_time ? Digits(text, 11, 2) : 0;
    const int minute = has_time ? Digits(text, 14, 2) : 0;
    const int second = has_time ? Digits(text, 17, 2) : 0;
    if (year < 100 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || hour > 23 || minute < 0 ||
        minute > 59 || second < 0 || second > 59)
        return std::nullopt;
    const auto date = ComposeDate(year, month, day, hour, minute, second);
    // 31 February rolls over, and is then not the date that was written.
    return BrokenDown(date).tm_mday == day ? std::optional(date) : std::nullopt;
}

std::string ShortDateText(DateTime date) { return Formatted(date, "%x"); }
std::string LongTimeText(DateTime date) { return Formatted(date, "%X"); }
std::string DefaultText(DateTime date) { return ShortDateText(date) + " " + LongTimeText(date); }

TimeZoneInformation GetTimeZoneInformation() { return zone_of_machine(); }

void ReplaceTimeZone(std::function<TimeZoneInformation()> zone) { zone_of_machine.Replace(std::move(zone)); }

}  // namespace pellago
