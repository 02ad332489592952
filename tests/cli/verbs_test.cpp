#include <unistd.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <iterator>

#include "cli_fixture.h"

namespace pellago::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class AVerb : public ACommandLine {};

std::vector<std::string> Words(const std::string& line) {
    std::istringstream words(line);
    return {std::istream_iterator<std::string>(words), {}};
}

TEST_F(AVerb, RejectsWrongUsageAndTouchesNothing) {
    for (const std::string line :
         {"", "bogus", "provider", "provider add", "provider enable", "provider enable 1 x",
          "channel add http://x.example/", "channel add http://x.example/ --provider 0",
          "update --channel 1 --provider 1", "update --channel 2147483648", "news --limit 0x10",
          "news --limit -1", "log --limit 1.5", "news surplus", "settings set key"}) {
        const auto outcome = Run(Words(line));
        EXPECT_EQ(outcome.status, 64) << line;
        EXPECT_THAT(outcome.err, StartsWith("pellago: ")) << line;
        EXPECT_EQ(outcome.out, "") << line;
    }
    EXPECT_EQ(Run({"provider", "add", ""}).status, 64);
    EXPECT_EQ(Run({"--database", "", "news"}).status, 64);
    EXPECT_FALSE(std::filesystem::exists(Database()));
}

TEST_F(AVerb, PrintsItsHelpAndTakesANameThatIsAlsoAVerb) {
    const auto help = Run({"provider", "add", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, HasSubstr("Usage: pellago provider add"));
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

TEST_F(AVerb, TellsByItsStatusWhyADatabaseIsOfNoUse) {
    const auto text = File("text.mdb", std::string(5000, 'x'));
    EXPECT_EQ(Run({"init"}).out, Database() + "\n");
    EXPECT_EQ(Run({"init"}).status, 77);
    EXPECT_EQ(Run({"--database", text, "init"}).status, 77);
    EXPECT_EQ(Run({"--database", folder_ / "no folder/RSS.MDB", "init"}).status, 77);
    Change("PRAGMA user_version = 99");
    EXPECT_EQ(Run({"news"}).status, 78);
    EXPECT_EQ(Run({"--database", text, "news"}).status, 65);
    EXPECT_EQ(Run({"--database", folder_ / "missing.mdb", "news"}).status, 66);
    EXPECT_EQ(ReadFile(text), std::string(5000, 'x'));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "missing.mdb"));
}

TEST_F(AVerb, KeepsSettingsAndNeverMakesTheDatabaseThatOneNames) {
    const auto path = folder_ / "gone/RSS.MDB";
    EXPECT_EQ(Run({"settings", "get", "RSSDS"}).status, 66);
    Run({"settings", "set", "Silent", "true"});
    Run({"settings", "set", "RSSDS", path});
    EXPECT_EQ(Run({"settings", "list"}).out, "Silent\t-1\nRSSDS\t" + path + "\n");

    for (const char* verb : {"update", "news", "log"}) {
        const auto outcome = Run({verb});
        EXPECT_EQ(outcome.status, 66) << verb;
        EXPECT_THAT(outcome.err, HasSubstr(path)) << verb;
    }
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(std::filesystem::exists(Database()));
}

TEST_F(AVerb, CannotWriteToADatabaseThatIsReadOnly) {
    if (geteuid() == 0) GTEST_SKIP() << "nothing is read-only to root";
    Run({"provider", "add", "P"});
    std::filesystem::permissions(Database(), std::filesystem::perms::owner_read);
    EXPECT_EQ(Run({"update"}).status, 77);
    EXPECT_EQ(Run({"provider", "add", "Q"}).status, 77);
}

TEST_F(AVerb, GivesUpOnADatabaseThatStaysLocked) {
    Run({"init"});
    Connection other;
    other.DataSource(Database());
    other.BeginWrites();
    const auto start = std::chrono::steady_clock::now();
    const auto processor = std::clock();

    const auto outcome = Run({"update"});

    EXPECT_EQ(outcome.status, 75);
    EXPECT_THAT(outcome.err, AllOf(HasSubstr(Database()), HasSubstr("locked by another program")));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(9500));
    EXPECT_LT(std::clock() - processor, CLOCKS_PER_SEC) << "it span instead of sleeping";
    other.CommitWrites();
    EXPECT_EQ(Ask("SELECT COUNT(*) FROM DownloadSessions"), "0");
}

}  // namespace
}  // namespace pellago::test
