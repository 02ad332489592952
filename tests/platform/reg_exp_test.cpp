#include "platform/reg_exp.h"

#include <gmock/gmock.h>

#include "platform/run_time_error.h"

namespace pellago {
namespace {

using testing::ElementsAre;

TEST(RegExp, GivesEveryGroupAndNothingForThoseThatTookNoPart) {
    const RegExp pattern("^(a)(b(c))?(D)$", true);
    const auto match = pattern.Execute("Ad");
    ASSERT_TRUE(match);
    EXPECT_EQ(match->value, "Ad");
    EXPECT_THAT(match->sub_matches, ElementsAre("A", "", "", "d"));
}

TEST(RegExp, AnchorsToTheVeryEnd) {
    const RegExp pattern("^a$", false);
    EXPECT_TRUE(pattern.Execute("a"));
    EXPECT_FALSE(pattern.Execute("a\n"));
    EXPECT_FALSE(pattern.Execute("A"));
}

TEST(RegExp, RefusesAPatternThatIsNone) { EXPECT_THROW(RegExp("(", false), RunTimeError); }

}  // namespace
}  // namespace pellago
