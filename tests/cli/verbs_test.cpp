#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/plain_text.h"
#include "cli_fixture.h"

namespace pellago::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class AVerb : public ACommandLine {};

TEST_F(AVerb, PrintsItsHelp) {
    const std::vector<std::vector<std::string>> verbs = {{},
                                                         {"init"},
                                                         {"import"},
                                                         {"export"},
                                                         {"provider"},
                                                         {"provider", "list"},
                                                         {"provider", "add"},
                                                         {"provider", "enable"},
                                                         {"provider", "disable"},
                                                         {"channel"},
                                                         {"channel", "list"},
                                                         {"channel", "add"},
                                                         {"channel", "enable"},
                                                         {"channel", "disable"},
                                                         {"update"},
                                                         {"news"},
                                                         {"log"},
                                                         {"settings"},
                                                         {"settings", "list"},
                                                         {"settings", "get"},
                                                         {"settings", "set"}};
    for (auto verb : verbs) {
        std::string usage = "Usage: pellago";
        for (const auto& word : verb) usage += " " + word;
        verb.push_back("--help");
        const auto outcome = Run(verb);
        EXPECT_EQ(outcome.status, 0) << usage;
        EXPECT_THAT(outcome.out, HasSubstr(usage));
        EXPECT_THAT(outcome.err, IsEmpty()) << usage;
    }
}

TEST_F(AVerb, RejectsWrongUsageAndTouchesNothing) {
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"bogus"},
        {"provider"},
        {"provider", "add"},
        {"provider", "add", ""},
        {"provider", "enable"},
        {"provider", "enable", "1", "x"},
        {"channel", "add", "http://x.example/"},
        {"channel", "add", "http://x.example/", "--provider", "0"},
        {"update", "--channel", "1", "--provider", "1"},
        {"update", "--channel", "2147483648"},
        {"news", "--limit", "0x10"},
        {"news", "--limit", "-1"},
        {"log", "--limit", ""},
        {"log", "--limit", "1.5"},
        {"news", "surplus"},
        {"--database", "", "news"},
        {"settings", "set", "key"},
    };
    for (const auto& arguments : cases) {
        const auto outcome = Run(arguments);
        EXPECT_EQ(outcome.status, 64) << testing::PrintToString(arguments);
        EXPECT_THAT(outcome.err, StartsWith("pellago: ")) << testing::PrintToString(arguments);
        EXPECT_EQ(outcome.out, "") << testing::PrintToString(arguments);
    }
    EXPECT_FALSE(std::filesystem::exists(Database()));
}

TEST_F(AVerb, TakesANameThatIsAlsoAVerb) {
    EXPECT_EQ(Run({"provider", "add", "list"}).out, "1\ton\tlist\t\n");
    EXPECT_EQ(Run({"settings", "set", "update", "--", "-x"}).status, 0);
    EXPECT_EQ(Run({"settings", "get", "UPDATE"}).out, "-x\n");
}

TEST_F(AVerb, NamesTheIdsThatDoNotExistAndDoesTheOthers) {
    Run({"provider", "add", "First"});
    Run({"provider", "add", "Second", "--home-page", "http://second.example/"});
    Run({"channel", "add", "http://x.example/", "--provider", "2"});

    const auto providers = Run({"provider", "disable", "1", "7", "2"});
    const auto channels = Run({"channel", "disable", "8", "1"});

    EXPECT_EQ(providers.status, 66);
    EXPECT_EQ(providers.err, "pellago: there is no provider 7\n");
    EXPECT_EQ(Run({"provider", "list"}).out, "1\toff\tFirst\t\n2\toff\tSecond\thttp://second.example/\n");
    EXPECT_EQ(channels.status, 66);
    EXPECT_EQ(channels.err, "pellago: there is no channel 8\n");
    EXPECT_EQ(Run({"channel", "list"}).out, "1\toff\t2\thttp://x.example/\thttp://x.example/\n");
    EXPECT_EQ(Run({"channel", "enable", "001"}).status, 0);
    EXPECT_EQ(Ask("SELECT Active FROM Channels"), "True");
    EXPECT_EQ(Run({"channel", "list", "--provider", "9"}).status, 66);
}

TEST_F(AVerb, AddsAChannelOnceAndOnlyToAProviderThatIsThere) {
    Run({"provider", "add", "P"});
    const auto file = File("a feed.xml", "");

    EXPECT_EQ(Run({"channel", "add", file, "--provider", "1"}).status, 0);
    const auto again = Run({"channel", "add", file, "--provider", "1", "--name", "other"});
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.err, HasSubstr("already"));
    EXPECT_THAT(again.out, StartsWith("1\ton\t1\tfile://"));
    EXPECT_EQ(Run({"channel", "add", "http://x.example/", "--provider", "2"}).status, 66);
    EXPECT_EQ(Run({"channel", "add", "x.example/feed", "--provider", "1"}).status, 66);
    EXPECT_EQ(Ask("SELECT COUNT(*) FROM Channels"), "1");
}

TEST_F(AVerb, RefusesToMakeADatabaseWhereThereIsAFile) {
    const auto path = File("mine.txt", "not to be lost");
    EXPECT_EQ(Run({"--database", path, "init"}).status, 77);
    EXPECT_EQ(ReadFile(path), "not to be lost");
    EXPECT_EQ(Run({"--database", folder_ / "no folder/RSS.MDB", "init"}).status, 77);
    EXPECT_EQ(Run({"init"}).out, Database() + "\n");
    EXPECT_EQ(Run({"init"}).status, 77);
}

TEST_F(AVerb, TellsWhyADatabaseIsOfNoUse) {
    const auto text = File("text.mdb", std::string(5000, 'x'));
    Run({"init"});
    Change("PRAGMA user_version = 99");

    EXPECT_EQ(Run({"news"}).status, 78);
    EXPECT_EQ(Run({"--database", text, "news"}).status, 65);
    EXPECT_EQ(Run({"--database", folder_ / "missing.mdb", "news"}).status, 66);
    EXPECT_EQ(ReadFile(text), std::string(5000, 'x'));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "missing.mdb"));
}

TEST_F(AVerb, NeverMakesTheDatabaseThatASettingNames) {
    const auto path = folder_ / "gone/RSS.MDB";
    Run({"settings", "set", "RSSDS", path});

    for (const char* verb : {"update", "news", "log"}) {
        const auto outcome = Run({verb});
        EXPECT_EQ(outcome.status, 66) << verb;
        EXPECT_THAT(outcome.err, HasSubstr(path)) << verb;
    }

    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(std::filesystem::exists(Database()));
    EXPECT_EQ(Run({"settings", "get", "rssds"}).out, path + "\n");
}

TEST_F(AVerb, KeepsSettings) {
    EXPECT_EQ(Run({"settings", "list"}).out, "");
    EXPECT_EQ(Run({"settings", "get", "Silent"}).status, 66);
    Run({"settings", "set", "Silent", "true"});
    Run({"settings", "set", "Number", "15"});
    EXPECT_EQ(Run({"settings", "list"}).out, "Silent\t-1\nNumber\t15\n");
}

TEST_F(AVerb, CannotWriteToADatabaseThatIsReadOnly) {
    namespace fs = std::filesystem;
    if (geteuid() == 0) GTEST_SKIP() << "nothing is read-only to root";
    Run({"provider", "add", "P"});
    fs::permissions(Database(), fs::perms::owner_read);

    EXPECT_EQ(Run({"update"}).status, 77);
    EXPECT_EQ(Run({"provider", "add", "Q"}).status, 77);
}

TEST_F(AVerb, GivesUpOnADatabaseThatStaysLocked) {
    Run({"init"});
    Connection other;
    other.DataSource(Database());
    other.Open();
    other.Execute("BEGIN IMMEDIATE");

    const auto outcome = Run({"update"});

    EXPECT_EQ(outcome.status, 75);
    EXPECT_THAT(outcome.err, HasSubstr(Database()));
    other.Execute("ROLLBACK");
    EXPECT_EQ(Ask("SELECT COUNT(*) FROM DownloadSessions"), "0");
}

TEST(APlainLine, HoldsNothingThatATerminalObeys) {
    EXPECT_EQ(cli::PlainLine("a\tb\r\nc\xE2\x80\xA8"
                             "d"),
              "a b c d");
    EXPECT_THAT(cli::PlainLine("\x1B[31m\x07\x7F"), testing::Not(testing::ContainsRegex("[\x01-\x1F\x7F]")));
    for (const char* harmful : {"\xC2\x9B", "\xE2\x80\xAE", "\xE2\x81\xA6", "\xFF", "\xC3"})
        EXPECT_EQ(cli::PlainLine(harmful), "\xEF\xBF\xBD");
    EXPECT_EQ(cli::PlainLine("caf\xC3\xA9 \xF0\x9F\x98\x80 \xE2\x80\x8E"),
              "caf\xC3\xA9 \xF0\x9F\x98\x80 \xE2\x80\x8E");
}

TEST(APlainLine, IsShortenedBetweenCharacters) {
    EXPECT_EQ(cli::Shortened("abc", 3), "abc");
    EXPECT_EQ(cli::Shortened("abcd", 3), "ab\xE2\x80\xA6");
    EXPECT_EQ(cli::Shortened("\xC3\xA9\xC3\xA9\xC3\xA9", 2), "\xC3\xA9\xE2\x80\xA6");
}

}  // namespace
}  // namespace pellago::test
