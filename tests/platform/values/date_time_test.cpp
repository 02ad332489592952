#include "platform/values/date_time.h"

#include <gmock/gmock.h>

#include "platform/values/run_time_error.h"
#include "support/support.h"

namespace pellago {
namespace {

TEST(DateTime, CountsFromTheZeroDateAndRollsOver) {
    EXPECT_EQ(ColumnText(DateTime()), "1899-12-30 00:00:00");
    EXPECT_EQ(ColumnText(ComposeDate(100, 1, 1)), "0100-01-01 00:00:00");
    EXPECT_EQ(ColumnText(ComposeDate(1899, 12, 29, 23, 59, 59)), "1899-12-29 23:59:59");
    EXPECT_EQ(ComposeDate(2003, 13, 1), ComposeDate(2004, 1, 1));
    EXPECT_EQ(ComposeDate(2003, 0, 1), ComposeDate(2002, 12, 1));
    EXPECT_EQ(ComposeDate(2003, 3, 0), ComposeDate(2003, 2, 28));
    EXPECT_EQ(ComposeDate(2003, 6, 10, 23, 60), ComposeDate(2003, 6, 11));
}

TEST(DateTime, HoldsTheYears100To9999) {
    EXPECT_THROW(ComposeDate(99, 12, 31), RunTimeError);
    EXPECT_THROW(ComposeDate(10000, 1, 1), RunTimeError);
    EXPECT_THROW(ComposeDate(2147483647, 2147483647, 1), RunTimeError);
    EXPECT_THROW(ComposeDate(9999, 12, 31, 23, 59).AddMinutes(1), RunTimeError);
    EXPECT_NO_THROW(ComposeDate(9999, 12, 31, 23, 59, 59));
}

TEST(DateTime, ReadsItsColumnForm) {
    const auto date = ComposeDate(2003, 6, 10, 4, 5, 6);
    EXPECT_EQ(FromColumnText(ColumnText(date)), date);
    EXPECT_EQ(FromColumnText("2003-06-10"), ComposeDate(2003, 6, 10));
    for (const char* text :
         {"", "2003-02-30", "2003-06-10 04:05", "2003-06-10T04:05:06", "2003-13-01", "2003-06--1"})
        EXPECT_FALSE(FromColumnText(text)) << text;
}

TEST(DateTime, TellsTheZoneOfTheMachine) {
    const test::EnvVar zone("TZ", "TST-5:30");
    tzset();
    const auto information = GetTimeZoneInformation();
    EXPECT_EQ(information.bias, -330);
    EXPECT_FALSE(information.daylight_in_effect);
}

}  // namespace
}  // namespace pellago
