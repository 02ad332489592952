#include "feeds/rss_date_time.h"

#include <gmock/gmock.h>

namespace pellago {
namespace {

struct Case {
    const char* text;
    const char* utc;  ///< nothing for a text that is no date
};

class RssDate : public testing::TestWithParam<Case> {};

TEST_P(RssDate, IsReadAsUtc) {
    CRSSDateTime parser;
    const auto& [text, utc] = GetParam();
    ASSERT_EQ(parser.Parse(text), utc != nullptr) << text;
    if (utc) {
        EXPECT_EQ(ColumnText(parser.ToUTCTime()), utc) << text;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rfc822, RssDate,
    testing::Values(
        Case{"Tue, 10 Jun 2003 04:00:00 GMT", "2003-06-10 04:00:00"},
        Case{"Tue, 10 Jun 2003 04:00:00 -0400", "2003-06-10 08:00:00"},
        Case{"Tue, 10 Jun 2003 04:00:00 +0530", "2003-06-09 22:30:00"},
        Case{"10 Jun 03 04:00 EDT", "2003-06-10 08:00:00"},
        Case{"10 Jun 98 04:00 GMT", "1998-06-10 04:00:00"}, Case{"10.06.2003 04:00", "2003-06-10 04:00:00"},
        Case{"tue, 10 jUN 2003 04:00:00 gmt", "2003-06-10 04:00:00"},
        Case{"1 Jan 32 00:00", "2032-01-01 00:00:00"}, Case{"1 Jan 33 00:00", "1933-01-01 00:00:00"},
        Case{"1 Jan 099 00:00", "1999-01-01 00:00:00"}, Case{"1 Jan 100 00:00", "0100-01-01 00:00:00"},
        Case{"10 Jun 2003 04:00:00 XYZ", "2003-06-10 04:00:00"},
        Case{"10 Jun 2003 04:00:00 0000", "2003-06-10 04:00:00"},
        Case{"10 Jun 2003 04:00:00 NZT", "2003-06-09 16:00:00"},
        // Roll-over of what lies outside the calendar.
        Case{"0 Mar 2003 24:60", "2003-03-01 01:00:00"}, Case{"31 13 2003 00:00", "2004-01-31 00:00:00"},
        Case{"Tue, 10 June 2003 04:00:00 GMT", nullptr}, Case{"10 Jun 2003 04:00:00 +05", nullptr},
        Case{"10 Jun 2003 04:00:00 +05-30", nullptr}, Case{"31 99999999999 2003 00:00", nullptr},
        Case{"1 Jan 100 00:00 +0100", nullptr}, Case{"", nullptr}, Case{"Someday", nullptr},
        Case{" Tue, 10 Jun 2003 04:00:00 GMT", nullptr}, Case{"Tue, 10 Jun 2003 04:00:00 GMT\n", nullptr}));

INSTANTIATE_TEST_SUITE_P(
    Iso8601, RssDate,
    testing::Values(Case{"2003-06-10T04:00:00+02:00", "2003-06-10 02:00:00"},
                    Case{"2003-06-10T04:00:00Z", "2003-06-10 04:00:00"},
                    Case{"2003-06-10t04:00z", "2003-06-10 04:00:00"},
                    Case{"2003-06-10 04:00", "2003-06-10 04:00:00"},
                    Case{"2003-06-10T04:00:00.123-05:30", "2003-06-10 09:30:00"},
                    Case{"2003-13-32T04:00:61", "2004-02-01 04:01:01"}, Case{"2003-06-10", nullptr},
                    Case{"2003-06-10T04:00:00+0200", nullptr}, Case{"0099-06-10T04:00", nullptr},
                    Case{"9999-12-31T23:59:00-00:01", nullptr}, Case{"2003-06-10T04:00:00Z\n", nullptr}));

INSTANTIATE_TEST_SUITE_P(WeekdayFirst, RssDate,
                         testing::Values(Case{"Tue Jun 10 04:00:00 PST 2003", "2003-06-10 12:00:00"},
                                         Case{"Tue, 6 10 04:00:00 XYZ 03", "2003-06-10 04:00:00"},
                                         Case{"Tue Jun 10 04:00 PST 2003", nullptr},
                                         Case{"Tue Juny 10 04:00:00 PST 2003", nullptr}));

TEST(RssDateTime, HoldsTheZeroDateAfterATextThatIsNoDate) {
    CRSSDateTime parser;
    ASSERT_TRUE(parser.Parse("2003-06-10 04:00"));
    EXPECT_FALSE(parser.Parse("Tue, 10 June 2003 04:00:00 GMT"));
    EXPECT_EQ(parser.ToUTCTime(), DateTime());
    ASSERT_TRUE(parser.Parse("2003-06-10 04:00"));
    EXPECT_FALSE(parser.Parse("soon"));
    EXPECT_EQ(parser.ToUTCTime(), DateTime());
}

class LocalTime : public testing::Test {
protected:
    ~LocalTime() override { ReplaceTimeZone({}); }
};

TEST_F(LocalTime, CountsDaylightTimeOnlyWhereTheZoneHasItAndItIsInEffect) {
    ReplaceTimeZone([] { return TimeZoneInformation{-60, -60, 3, true}; });
    const CRSSDateTime summer;
    EXPECT_EQ(summer.GetTimeDifference(), 120);
    ReplaceTimeZone([] { return TimeZoneInformation{-60, -60, 3, false}; });
    EXPECT_EQ(summer.GetTimeDifference(), 60);
    ReplaceTimeZone([] { return TimeZoneInformation{300, -60, 0, true}; });
    EXPECT_EQ(summer.GetTimeDifference(), -300);
}

TEST_F(LocalTime, UsesTheDifferenceOfTheObjectsCreation) {
    ReplaceTimeZone([] { return TimeZoneInformation{-60, -60, 3, true}; });
    CRSSDateTime parser;
    ReplaceTimeZone([] { return TimeZoneInformation{}; });
    ASSERT_TRUE(parser.Parse("2003-06-10T23:00:00Z"));
    EXPECT_EQ(ColumnText(parser.ToLocalTime()), "2003-06-11 01:00:00");
}

}  // namespace
}  // namespace pellago
