#include <nlohmann/json.hpp>

#include "cli_fixture.h"
#include "support/http_server.h"

namespace pellago::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Json = nlohmann::json;

class AnUpdate : public ACommandLine {
protected:
    std::string Outline(const std::string& path) const {
        return "<outline text=\"C&#x85;\" xmlUrl=\"" + server_.Url(path) + "\"/>";
    }
    /// Good and Dead at one provider, Empty at another.
    void Subscribe() {
        server_.Answer("/good", {.body = Feed("Good", "http://g.example/", 3)});
        server_.Answer("/dead", {.status = 500});
        server_.Answer("/empty", {.body = Feed("Empty", "", 0)});
        Import("<outline text=\"One\">" + Outline("/good") + "<outline text=\"Dead\" xmlUrl=\"" +
               server_.Url("/dead") + "\"/></outline><outline text=\"Two\">" + Outline("/empty") +
               "</outline>");
    }
    void Import(const std::string& outlines) {
        ASSERT_EQ(Run({"import", File("list.opml", Opml(outlines))}).status, 0);
    }
    void RejectRowsOf(const std::string& table) {
        Change("CREATE TRIGGER Rejecting BEFORE INSERT ON " + table + " BEGIN SELECT RAISE(FAIL, 'no'); END");
    }

    HttpServer server_;
};

TEST_F(AnUpdate, PrintsALineForEachChannelAndASummary) {
    Subscribe();

    const auto first = Run({"update"});
    EXPECT_EQ(first.status, 1);
    EXPECT_EQ(
        first.out,
        "Good: 3 new\nDead: FAILED " + server_.Url("/dead") +
            ": The requested URL returned error: 500\nEmpty: 0 new\n3 channels, 1 failed, 3 new items\n");
    EXPECT_EQ(first.err, "");

    const auto quiet = Run({"update", "--quiet"});
    EXPECT_EQ(quiet.status, 1);
    EXPECT_EQ(quiet.out, "");
    EXPECT_EQ(quiet.err,
              "Dead: FAILED " + server_.Url("/dead") + ": The requested URL returned error: 500\n");

    Run({"channel", "disable", "2"});
    EXPECT_EQ(Run({"update"}).out, "Good: 0 new\nEmpty: 0 new\n2 channels, 0 failed, 0 new items\n");
    EXPECT_EQ(Run({"update", "--provider", "2"}).out, "Empty: 0 new\n1 channel, 0 failed, 0 new items\n");
    EXPECT_EQ(Run({"update", "--channel", "2"}).status, 1);
}

TEST_F(AnUpdate, SaysInJsonWhatTheDatabaseHolds) {
    Subscribe();
    Run({"update"});
    Change("DELETE FROM News WHERE Link = 'http://g.example/2'");

    const auto outcome = Run({"update", "--json"});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "");
    const auto document = Json::parse(outcome.out);
    EXPECT_EQ(document["schema"], 1);
    EXPECT_EQ(document["session"], 2);
    EXPECT_EQ(document["cancelled"], false);
    EXPECT_EQ(document["start"], Ask("SELECT StartTime || '' FROM DownloadSessions WHERE ID = 2"));
    EXPECT_EQ(document["end"], Ask("SELECT EndTime || '' FROM DownloadSessions WHERE ID = 2"));
    EXPECT_EQ(document["totals"], Json::parse(R"({"channels": 3, "ok": 2, "failed": 1, "new": 1})"));
    ASSERT_THAT(document["channels"], SizeIs(3));
    EXPECT_EQ(document["channels"][0], Json({{"id", 1},
                                             {"name", "Good"},
                                             {"address", server_.Url("/good")},
                                             {"ok", true},
                                             {"new", 1},
                                             {"results", {4, 5}}}));
    EXPECT_EQ(document["channels"][1]["results"], Json({3}));
    EXPECT_EQ(document["channels"][1]["ok"], false);
    EXPECT_THAT(document["errors"], IsEmpty());
    EXPECT_EQ(Ask("SELECT SUM(NewItems) FROM DownloadLog WHERE Session = 2"), "1");
}

TEST_F(AnUpdate, OfSomethingThatDoesNotExistIsAnErrorWithItsLogRow) {
    Subscribe();

    const auto channel = Run({"update", "--channel", "77"});
    const auto provider = Run({"update", "--provider", "78", "--json"});

    EXPECT_EQ(channel.status, 66);
    EXPECT_EQ(channel.err, "pellago: there is no channel 77\n");
    EXPECT_EQ(provider.status, 66);
    EXPECT_EQ(provider.err, "pellago: there is no provider 78\n");
    EXPECT_EQ(Json::parse(provider.out)["totals"]["channels"], 0);
    EXPECT_EQ(Ask("SELECT COUNT(*) FROM DownloadLog WHERE Result = 9 AND Channel = 0"), "2");
    EXPECT_EQ(server_.Requests("/good"), 0U);
}

TEST_F(AnUpdate, OfAnEmptyDatabaseSaysSo) {
    const auto outcome = Run({"update"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("nothing to update"));
    EXPECT_THAT(Run({"log"}).out, HasSubstr("There was nothing to download."));
}

TEST_F(AnUpdate, ThatCannotWriteItsRowsOrItsSessionIsNoSuccess) {
    Subscribe();
    RejectRowsOf("News WHEN NEW.Link LIKE '%2'");
    const auto rows = Run({"update", "--channel", "1", "--json"});
    EXPECT_EQ(rows.status, 1);
    EXPECT_EQ(Json::parse(rows.out)["channels"][0]["results"], Json({4, 10, 5}));
    EXPECT_EQ(Ask("SELECT COUNT(*) FROM News"), "2");

    Change("DROP TRIGGER Rejecting");
    RejectRowsOf("DownloadSessions");
    const auto session = Run({"update", "--channel", "1"});
    EXPECT_EQ(session.status, 1);
    EXPECT_THAT(session.err, HasSubstr("could not be recorded"));
}

TEST_F(AnUpdate, NamesTheChannelThatWasGivenUpAndNoOther) {
    Subscribe();
    Change(
        "CREATE TRIGGER NoRow BEFORE UPDATE ON Channels WHEN NEW.ID = 1 BEGIN SELECT RAISE(ABORT, 'no row'); "
        "END");
    const auto outcome = Run({"update", "--json"});
    EXPECT_EQ(outcome.status, 1);
    const auto channels = Json::parse(outcome.out)["channels"];
    ASSERT_THAT(channels, SizeIs(2)) << "the first provider's second channel is not reached";
    EXPECT_EQ(channels[0]["id"], 1);
    EXPECT_EQ(channels[0]["ok"], false);
    EXPECT_EQ(channels[0]["error"], "no row");
    EXPECT_EQ(channels[1]["id"], 3);
    EXPECT_EQ(channels[1]["results"], Json({4, 5}));
}

TEST_F(AnUpdate, WhoseFailuresTheEnginePassesOverIsNoSuccess) {
    Subscribe();
    Change(
        "CREATE TRIGGER NoEnd BEFORE UPDATE OF EndTime ON DownloadSessions BEGIN SELECT RAISE(FAIL, 'no "
        "end'); END");
    const auto end = Run({"update", "--json"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(Json::parse(end.out)["end"], Json());
    EXPECT_THAT(end.err, HasSubstr("no end"));

    RejectRowsOf("DownloadLog");
    const auto nothing = Run({"update", "--provider", "77"});
    EXPECT_EQ(nothing.status, 1);
    EXPECT_THAT(nothing.err, HasSubstr("pellago: no"));
}

TEST_F(AnUpdate, LetsNoControlCharacterOfAFeedThrough) {
    server_.Answer("/feed", {.body = Feed("T&#155;31m&#127;&#8238;", "http://x.example/&#157;&#8294;", 1)});
    Import("<outline text=\"P&#155;\">" + Outline("/feed") + Outline("/missing&#x9b;") + "</outline>");

    std::string output;
    for (const std::string verb : {"update", "news", "log"})
        for (const bool json : {false, true})
            output += Run(json ? std::vector{verb, std::string("--json")} : std::vector{verb}).out;
    for (const std::string kind : {"provider", "channel"}) output += Run({kind, "list"}).out;

    EXPECT_THAT(output, HasSubstr("31m"));
    for (const char* harmful : {"\xC2\x85", "\xC2\x9B", "\xC2\x9D", "\x7F", "\xE2\x80\xAE", "\xE2\x81\xA6"})
        EXPECT_THAT(output, Not(HasSubstr(harmful)));
}

TEST_F(AnUpdate, IsListedNewestFirst) {
    const auto item = [](const std::string& title, const std::string& date) {
        return "<item><title>" + title + "</title><link>" + title + "</link><pubDate>" + date +
               " 10:00:00 GMT</pubDate></item>";
    };
    const auto feed = [](const std::string& title, const std::string& items) {
        return Reply{.body = "<rss><channel><title>" + title + "</title>" + items + "</channel></rss>"};
    };
    server_.Answer("/a", feed("A", item("Old", "Mon, 01 Jan 2001") + item("New", "Fri, 01 Jan 2021")));
    server_.Answer("/b", feed("B", item("Middle", "Fri, 01 Jan 2010")));
    Import("<outline text=\"P\">" + Outline("/a") + Outline("/b") + "</outline>");
    Run({"update"});

    EXPECT_THAT(
        Run({"news"}).out,
        testing::MatchesRegex("2021-[^\n]*\tA\tNew\tNew\n2010-[^\n]*\tB\tMiddle\tMiddle\n2001-[^\n]*\n"));
    EXPECT_THAT(Run({"news", "--channel", "1", "--limit", "1"}).out, testing::EndsWith("\tA\tNew\tNew\n"));
    EXPECT_EQ(Run({"news", "--channel", "9"}).status, 66);
    const auto log = Json::parse(Run({"log", "--limit", "3", "--json"}).out)["log"];
    ASSERT_THAT(log, SizeIs(3));
    EXPECT_EQ(log[0]["result"], 5);
    EXPECT_EQ(log[0]["channelName"], "B");
    EXPECT_EQ(log[0]["new"], 1);
    EXPECT_EQ(log[2]["message"], "The items were stored.");
}

}  // namespace
}  // namespace pellago::test
