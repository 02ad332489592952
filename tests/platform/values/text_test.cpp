#include "platform/values/text.h"

#include <gmock/gmock.h>

#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

TEST(Text, CutsByUtf16UnitsWithoutHalvingASurrogatePair) {
    const std::string text = "a\u00e4\U0001F600b";
    EXPECT_EQ(Len(text), 5U);
    EXPECT_EQ(Left(text, 3), "a\u00e4");
    EXPECT_EQ(Left(text, 4), "a\u00e4\U0001F600");
    EXPECT_EQ(Left(text, 99), text);
}

TEST(Text, IsTrimmedComparedReplacedAndMadeValidBeyondAscii) {
    EXPECT_EQ(Trim("  \ta b \n  "), "\ta b \n") << "blanks only";
    EXPECT_TRUE(EqualNoCase("\u00c4rger", "\u00e4RGER"));
    EXPECT_EQ(Replace("aXbX", "X", "XX"), "aXXbXX");
    EXPECT_EQ(Replace("abc", "", "-"), "abc");
    EXPECT_EQ(ValidUtf8("a\xff z"), "a\uFFFD z");
}

TEST(Text, ConvertsToIntegersHalfToEven) {
    EXPECT_EQ(LongFromText("2.5"), 2);
    EXPECT_EQ(LongFromText(" 3.5 "), 4);
    EXPECT_EQ(LongFromText("-2147483648"), -2147483647 - 1);
    EXPECT_THROW(LongFromText("2147483648"), RunTimeError);
    for (const char* text : {"", "12x", "inf", "nan", "+-1", "0x10"})
        EXPECT_THROW(LongFromText(text), RunTimeError) << text;
}

TEST(Text, ConvertsToBooleans) {
    for (const char* text : {"TRUE", "-1"}) EXPECT_TRUE(BooleanFromText(text)) << text;
    for (const char* text : {"False", "0"}) EXPECT_FALSE(BooleanFromText(text)) << text;
    EXPECT_THROW(BooleanFromText("yes"), RunTimeError);
}

}  // namespace
}  // namespace pellago
