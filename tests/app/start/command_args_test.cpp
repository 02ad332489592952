#include "app/start/command_args.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "platform/files/program.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago {
namespace {

using testing::ElementsAre;
using testing::Pair;
using Arguments = std::vector<std::pair<std::string, std::string>>;

class ACommandLine : public testing::Test {
protected:
    /// Names and values by position.
    Arguments Parse(const std::string& line, std::int32_t style = 2, const std::string& delimiter = "/",
                    const std::string& assignment = "=") {
        args_.Init(line, style, delimiter, assignment);
        Arguments arguments;
        for (std::int16_t at = 1; at <= args_.Count(); ++at)
            arguments.emplace_back(args_.Name(at), args_.Value(std::int32_t{at}));
        return arguments;
    }

    static test::Thrown Failure(std::int32_t code, const std::string& text) {
        return {error_number::kObjectErrorBase + code, text, ProgramName() + ".CCommandArgs"};
    }

    CCommandArgs args_;
};

TEST_F(ACommandLine, IsSplitIntoNamesAndValues) {
    EXPECT_THAT(Parse(" /update /provider=5"),
                ElementsAre(Pair("update ", "update "), Pair("provider", "5")));
    EXPECT_THAT(Parse("/trace="), ElementsAre(Pair("trace", "trace=")));
    EXPECT_THAT(Parse("/a=1/b = 2 "), ElementsAre(Pair("a", "1"), Pair("b ", "2")));
    EXPECT_THAT(Parse("/a=1=2"), ElementsAre(Pair("a", "1=2")));
    EXPECT_THAT(Parse("before//  /a"), ElementsAre(Pair("before", "before"), Pair("a", "a")));
    EXPECT_THAT(Parse("--a:=1--b", 2, "--", ":="), ElementsAre(Pair("a", "1"), Pair("b", "b")));
    EXPECT_THAT(Parse("/a=1", 1), ElementsAre(Pair("a=1", "a=1")));
}

TEST_F(ACommandLine, KeepsTheFirstArgumentWithAKeyAndFindsItWithoutRegardToCase) {
    EXPECT_THAT(Parse("/x=1/X=2/x =3/x"), ElementsAre(Pair("x", "1"), Pair("x ", "3")));
    EXPECT_EQ(args_.Value("X "), "3");
    // Its key is the name, also where the arguments count as whole.
    EXPECT_THAT(Parse("/x /X /\u00c4=1/\u00e4=2", 1),
                ElementsAre(Pair("x ", "x "), Pair("\u00c4=1", "\u00c4=1")));
    EXPECT_EQ(args_.Value("\u00e4"), "\u00c4=1");
}

TEST_F(ACommandLine, IsSplitAnewAfterASettingChanged) {
    Parse("/a=1;b");
    args_.DelimiterChar(";");
    EXPECT_EQ(args_.Count(), 2);
    EXPECT_EQ(args_.Value("/A"), "1");
    args_.AssignmentChar("/");
    EXPECT_EQ(args_.Value(1), "a=1");
    args_.CommandLine("");
    EXPECT_EQ(args_.Count(), 0);
}

TEST_F(ACommandLine, RefusesWhatIsNotThereAndKeepsItsSettings) {
    Parse("/a=1/b");
    const auto invalid = Failure(18222, "Invalid argument");
    for (const std::int16_t outside : {std::int16_t{0}, std::int16_t{3}, std::int16_t{-1}})
        EXPECT_EQ(test::ThrownBy([&] { args_.Name(outside); }), invalid);
    for (const Variant& index : std::initializer_list<Variant>{0, 3, 1e300, "3", "99999999999", Null{}, true})
        EXPECT_EQ(test::ThrownBy([&] { args_.Value(index); }), invalid);
    EXPECT_EQ(args_.Value(" 2 "), "b") << "text that reads as a number";
    EXPECT_EQ(test::ThrownBy([&] { args_.Value("c"); }), Failure(18224, "CCommandArgs component failure"));
    const auto style = Failure(18221, "Invalid argument style");
    EXPECT_EQ(test::ThrownBy([&] { args_.ArgumentStyle(3); }), style);
    EXPECT_EQ(test::ThrownBy([&] { args_.Init("/c", 0, ";", ":"); }), style);
    const auto character = Failure(18223, "Invalid character");
    EXPECT_EQ(test::ThrownBy([&] { args_.DelimiterChar(""); }), character);
    EXPECT_EQ(test::ThrownBy([&] { args_.Init("/c/d", 2, ";", ""); }), character);
    EXPECT_EQ(args_.ArgumentStyle(), 2);
    EXPECT_EQ(args_.Count(), 2) << "the delimiter is still /";
}

// It starts itself with a command line that begins and ends with a quote.
TEST_F(ACommandLine, IsThatOfTheProcessWithoutItsQuotesWhereNoneIsGiven) {
    const char* prints = "PELLAGO_PRINTS_ITS_COMMAND_LINE";
    if (std::getenv(prints)) {
        args_.Init("  ", 2, "/", "=");
        std::cout << args_.Count() << " arguments: " << args_.Value(1) << ", " << args_.Value("b") << ", "
                  << args_.Value(3) << std::endl;
        return;
    }
    const test::EnvVar inner(prints, "1");
    const auto self = std::filesystem::read_symlink("/proc/self/exe").string();
    const auto command = "'" + self + "' '\"first' '/b=2' --gtest_filter=*WithoutItsQuotes* '/ last\"'";
    const auto close = [](FILE* pipe) { pclose(pipe); };
    const std::unique_ptr<FILE, decltype(close)> program(popen(command.c_str(), "r"));
    std::string printed;
    for (int c = fgetc(program.get()); c != EOF; c = fgetc(program.get())) printed += static_cast<char>(c);
    EXPECT_THAT(printed,
                testing::HasSubstr("3 arguments: first , 2 --gtest_filter=*WithoutItsQuotes*,  last\n"));
}

}  // namespace
}  // namespace pellago
