#include "feeds/rss_date_time.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>
#include <string>
#include <utility>

#include "platform/values/run_time_error.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr const char* kRfc822 =
    R"(^(([A-Za-z]{2,3})[,\s]+)?(\d{1,2})[\s\.]+([a-zA-Z\d]+)[,\s\.]+(\d{2,4})\s+(\d{1,2}):(\d{1,2})(:(\d{1,2}))?(\s+(([\d+-]+)|([A-Z\d]+)))?$)";
constexpr const char* kIso8601 =
    R"(^((\d{4})-(\d{2})-(\d{2}))(T|\s)((\d{2}):(\d{2})(:(\d{2}))?(\.\d+)?)((Z{1})|([+-]+(\d{2}):(\d{2})))?$)";
constexpr const char* kWeekdayFirst =
    R"(^([A-Za-z]{2,3})[,\s]+([a-zA-Z\d]+)\s+(\d{1,2})\s+(\d{1,2}):(\d{1,2})(:(\d{1,2}))\s+([A-Z\d]+)\s+(\d{2,4})$)";

using Word = std::pair<std::string_view, std::int32_t>;

/// Minutes from UTC. RFC 822 section 5.1 knows the North American ones.
constexpr std::array<Word, 12> kZones = {{{"gmt", 0},
                                          {"ut", 0},
                                          {"utc", 0},
                                          {"edt", -240},
                                          {"est", -300},
                                          {"cdt", -300},
                                          {"cst", -360},
                                          {"mdt", -360},
                                          {"mst", -420},
                                          {"pdt", -420},
                                          {"pst", -480},
                                          {"nzt", 720}}};
constexpr std::array<Word, 12> kMonths = {{{"jan", 1},
                                           {"feb", 2},
                                           {"mar", 3},
                                           {"apr", 4},
                                           {"may", 5},
                                           {"jun", 6},
                                           {"jul", 7},
                                           {"aug", 8},
                                           {"sep", 9},
                                           {"oct", 10},
                                           {"nov", 11},
                                           {"dec", 12}}};

template <std::size_t Size>
std::optional<std::int32_t> LookUp(const std::array<Word, Size>& table, std::string_view word) {
    const auto same = [&](const Word& entry) {
        return std::equal(entry.first.begin(), entry.first.end(), word.begin(), word.end(),
                          [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
    };
    const auto* const found = std::find_if(table.begin(), table.end(), same);
    return found == table.end() ? std::nullopt : std::optional(found->second);
}

/// The offset in minutes that the last digits of a numeric zone say: two for the hours, which begin
/// `hours_from_end` characters before its end, and two for the minutes.
std::int32_t NumericOffset(std::string_view zone, std::size_t hours_from_end) {
    if (zone.size() < hours_from_end)
        throw RunTimeError(error_number::kInvalidProcedureCall, "", "Invalid procedure call or argument");
    const auto hours = LongFromText(zone.substr(zone.size() - hours_from_end, 2));
    const auto minutes = LongFromText(zone.substr(zone.size() - 2));
    const auto offset = hours * 60 + minutes;
    return zone.front() == '-' ? -offset : offset;
}

/// Of a part that the patterns let through with at most four digits.
int Number(std::string_view digits) {
    int number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return number;
}

int Widened(int year) {
    if (year >= 100) return year;
    return year <= 32 ? year + 2000 : year + 1900;
}

}  // namespace

struct CRSSDateTime::Parts {
    std::string_view year;
    std::string_view month;
    std::string_view day;
    std::string_view hour;
    std::string_view minute;
    std::string_view second;
    std::string_view numeric_zone;
    std::string_view zone_word;
};

CRSSDateTime::CRSSDateTime()
    : time_difference_(GetTimeDifference()),
      rfc822_(kRfc822, true),
      iso8601_(kIso8601, true),
      weekday_first_(kWeekdayFirst, true) {}

bool CRSSDateTime::Parse(std::string_view text) {
    try {
        if (const auto match = rfc822_.Execute(text)) {
            const auto& group = match->sub_matches;
            return SetFromRFC822(
                {group[4], group[3], group[2], group[5], group[6], group[8], group[11], group[12]});
        }
        if (const auto match = iso8601_.Execute(text)) {
            const auto& group = match->sub_matches;
            return SetFromISO8601(
                {group[1], group[2], group[3], group[6], group[7], group[9], group[13], group[12]});
        }
        if (const auto match = weekday_first_.Execute(text)) {
            const auto& group = match->sub_matches;
            return SetFromRFC822({group[8], group[1], group[2], group[3], group[4], group[6], {}, group[7]});
        }
    } catch (const RunTimeError&) {
        // A part that is no number, or a date that no calendar holds.
        return false;
    }
    utc_ = DateTime();
    return false;
}

bool CRSSDateTime::SetFromRFC822(const Parts& parts) {
    const auto month =
        IsNumeric(parts.month) ? std::optional(LongFromText(parts.month)) : LookUp(kMonths, parts.month);
    if (!month) {
        utc_ = DateTime();
        return false;
    }
    const auto offset = parts.numeric_zone.empty() ? LookUp(kZones, parts.zone_word).value_or(0)
                                                   : NumericOffset(parts.numeric_zone, 4);
    Store(parts, Widened(Number(parts.year)), *month, offset);
    return true;
}

bool CRSSDateTime::SetFromISO8601(const Parts& parts) {
    const bool is_utc = !parts.zone_word.empty() || parts.numeric_zone.empty();
    Store(parts, Number(parts.year), Number(parts.month), is_utc ? 0 : NumericOffset(parts.numeric_zone, 5));
    return true;
}

void CRSSDateTime::Store(const Parts& parts, int year, int month, std::int32_t offset) {
    utc_ = ComposeDate(year, month, Number(parts.day), Number(parts.hour), Number(parts.minute),
                       Number(parts.second))
               .AddMinutes(-offset);
}

DateTime CRSSDateTime::ToLocalTime() const { return utc_.AddMinutes(time_difference_); }

std::int32_t CRSSDateTime::GetTimeDifference() const {
    const auto zone = GetTimeZoneInformation();
    const bool daylight = zone.daylight_in_effect && zone.daylight_month != 0;
    return -zone.bias - (daylight ? zone.daylight_bias : 0);
}

CRSSDateTime& gRSSDateTime() {
    static CRSSDateTime parser;
    return parser;
}

}  // namespace pellago
