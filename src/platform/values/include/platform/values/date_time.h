#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace pellago {

/// A date and time of day in whole seconds since 30 December 1899 00:00, by default in local time; years 100
/// to 9999. The zero date stands for "no date".
class DateTime {
public:
    constexpr DateTime() = default;
    /// Throws RunTimeError 5 "Invalid procedure call or argument" outside the years 100 to 9999.
    static DateTime FromSeconds(std::int64_t seconds);

    constexpr std::int64_t Seconds() const { return seconds_; }
    /// Throws like FromSeconds.
    DateTime AddMinutes(std::int64_t minutes) const;

    friend constexpr auto operator<=>(const DateTime&, const DateTime&) = default;

private:
    std::int64_t seconds_ = 0;
};

/// Composes a date with calendar roll-over: month 13 is January of the next year, day 0 the last day of the
/// month before, hour 24 the next day's 00. `year` is taken as it stands. Throws like DateTime::FromSeconds.
DateTime ComposeDate(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);

/// The current local time.
DateTime Now();
/// The system's clock in seconds since 1 January 1970 00:00 UTC.
std::int64_t UnixTime();

/// Makes Now() answer `clock`; an empty function brings the system's clock back. For tests.
void ReplaceClock(std::function<DateTime()> clock);

/// "YYYY-MM-DD HH:MM:SS", the form of date columns.
std::string ColumnText(DateTime date);
/// Nothing when the text is not a date in that form ("YYYY-MM-DD" alone is midnight).
std::optional<DateTime> FromColumnText(std::string_view text);

/// Date and time in the system locale's own forms (LC_TIME).
std::string ShortDateText(DateTime date);
std::string LongTimeText(DateTime date);
/// Both, separated by a blank: the default text form of a date.
std::string DefaultText(DateTime date);

/// The machine's time zone, as GetTimeZoneInformation tells it. UTC = local time + bias.
struct TimeZoneInformation {
    std::int32_t bias = 0;            ///< minutes
    std::int32_t daylight_bias = 0;   ///< minutes, added to `bias` while daylight time is in effect
    std::int32_t daylight_month = 0;  ///< month of the change to daylight time, 0 when the zone has none
    bool daylight_in_effect = false;
};
TimeZoneInformation GetTimeZoneInformation();
/// An empty function brings the system's answer back. For tests.
void ReplaceTimeZone(std::function<TimeZoneInformation()> zone);

}  // namespace pellago
