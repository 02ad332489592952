#pragma once

#include <cstdint>
#include <string_view>

#include "platform/values/date_time.h"
#include "platform/values/reg_exp.h"

namespace pellago {

/// Parses the dates that feeds carry: RFC 822 as RSS uses it, ISO 8601 as Atom uses it, and the layout of the
/// C library's `date` with a zone ("Tue Jun 10 04:00:00 PST 2003"). The whole text must be the date.
class CRSSDateTime final {
public:
    CRSSDateTime();

    /// False when the text is no date; what the object holds then means nothing.
    bool Parse(std::string_view text);

    /// The parsed date in UTC, and in local time by the difference that was valid when the object was made.
    DateTime ToUTCTime() const { return utc_; }
    DateTime ToLocalTime() const;

    /// Local time minus UTC in minutes, as the system says now.
    std::int32_t GetTimeDifference() const;

private:
    struct Parts;
    bool SetFromRFC822(const Parts& parts);
    bool SetFromISO8601(const Parts& parts);
    void Store(const Parts& parts, int year, int month, std::int32_t offset);

    std::int32_t time_difference_;
    RegExp rfc822_;
    RegExp iso8601_;
    RegExp weekday_first_;
    DateTime utc_;
};

/// The one that serves the whole program, made at its first use.
CRSSDateTime& gRSSDateTime();

}  // namespace pellago
