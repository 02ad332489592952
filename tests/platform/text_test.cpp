#include "platform/text.h"

#include <gmock/gmock.h>

#include "platform/run_time_error.h"
#include "platform/variant.h"

namespace pellago {
namespace {

TEST(Text, CutsByUtf16UnitsWithoutHalvingASurrogatePair) {
    const std::string text = "a\u00e4\U0001F600b";
    EXPECT_EQ(Len(text), 5U);
    EXPECT_EQ(Left(text, 2), "a\u00e4");
    EXPECT_EQ(Left(text, 3), "a\u00e4");
    EXPECT_EQ(Left(text, 4), "a\u00e4\U0001F600");
    EXPECT_EQ(Left(text, 99), text);
}

TEST(Text, TrimsBlanksOnly) { EXPECT_EQ(Trim("  \ta b \n  "), "\ta b \n"); }

TEST(Text, ComparesWithoutRegardToCaseBeyondAscii) {
    EXPECT_TRUE(EqualNoCase("\u00c4rger", "\u00e4RGER"));
    EXPECT_FALSE(EqualNoCase("a", "b"));
}

TEST(Text, ReplacesAllOccurrencesAndNotInsideTheReplacement) {
    EXPECT_EQ(Replace("aXbX", "X", "XX"), "aXXbXX");
    EXPECT_EQ(Replace("abc", "", "-"), "abc");
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
    EXPECT_TRUE(BooleanFromText("TRUE"));
    EXPECT_TRUE(BooleanFromText("-1"));
    EXPECT_FALSE(BooleanFromText("False"));
    EXPECT_FALSE(BooleanFromText("0"));
    EXPECT_THROW(BooleanFromText("yes"), RunTimeError);
}

TEST(Text, MakesAnyBytesValidUtf8) { EXPECT_EQ(ValidUtf8("a\xff z"), "a\uFFFD z"); }

TEST(Variant, ConvertsAsItsTypeDoes) {
    EXPECT_EQ(CStr(Variant(true)), "True");
    EXPECT_EQ(CLng(Variant(true)), -1);
    EXPECT_EQ(CStr(Variant(0.1)), "0.1");
    EXPECT_EQ(CStr(Variant("text")), "text");
    EXPECT_THROW(CStr(Variant()), RunTimeError);
    EXPECT_THROW(CDate(Variant("tomorrow")), RunTimeError);
}

}  // namespace
}  // namespace pellago
