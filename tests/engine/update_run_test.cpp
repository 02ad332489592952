#include "infra/errors_to_file.h"
#include "platform/loop/thread_timer.h"
#include "support/a_run.h"

namespace pellago::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(ARun, RaisesItsEventsInTheDeclaredOrder) {
    AddProvider(7, "'first'");
    AddProvider(8, "NULL");
    AddChannel(1, 7, server.Url("/dead.xml"));
    AddChannel(2, 7, server.Url("/good.xml"));
    AddChannel(3, 7, server.Url("/good.xml"), false);
    server.Answer("/dead.xml", {.status = 500});
    server.Answer("/good.xml", {.body = Feed(Item("a", "l/a") + Item("b", "l/b"))});
    Engine()->Update();
    EXPECT_THAT(events.lines,
                ElementsAre("provider first 1/2",                                         //
                            "channel c1 1/2", "items 0", "status ",                       //
                            "error " + server.Url("/dead.xml") + " 1 c1 Download error",  //
                            "done c1 1",                                                  //
                            "channel c2 2/2", "items 0", "status ",                       //
                            "status Storing: a", "items 50", "status Storing: b", "items 100",
                            "done c2 2",  //
                            "provider <no name> 2/2"));
    EXPECT_THAT(Log(), ElementsAre("1:3:1:0", "2:4:0:0", "2:5:0:2"));
    EXPECT_THAT(Column("SELECT Session FROM DownloadLog"), ElementsAre("1", "1", "1"));
    EXPECT_THAT(Column("SELECT ID FROM DownloadSessions WHERE StartTime NOT NULL AND EndTime NOT NULL"),
                SizeIs(1));
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ARun, TakesInactiveProvidersAndChannelsOnlyWhenAskedTo) {
    AddProvider(1, "'off'", false);
    AddChannel(1, 1, server.Url("/good.xml"), false);
    server.Answer("/good.xml", {.body = Feed(Item("a", "l/a"))});
    Engine()->Update();
    EXPECT_THAT(Log(), ElementsAre("0:9:0:0"));
    EXPECT_THAT(events.lines, IsEmpty());
    const auto engine = Engine();
    engine->OnlyActive(false);
    engine->Update();
    EXPECT_THAT(Log(), ElementsAre("0:9:0:0", "1:4:0:0", "1:5:0:1"));
    EXPECT_THAT(Column("SELECT ID FROM DownloadSessions WHERE EndTime NOT NULL"), ElementsAre("1", "2"));
}

TEST_F(ARun, OfOneProviderTakesAllItsChannelsAndNoOther) {
    AddProvider(1, "'p1'", false);
    AddProvider(2, "'p2'");
    AddChannel(1, 1, server.Url("/good.xml"), false);
    AddChannel(2, 2, server.Url("/good.xml"));
    server.Answer("/good.xml", {.body = Feed("")});
    const auto engine = Engine();
    engine->OnlyActive(false);
    engine->UpdateOnlyOneProvider(1);
    EXPECT_THAT(events.lines,
                ElementsAre("provider p1 1/1", "channel c1 1/1", "items 0", "status ", "done c1 1"));
    EXPECT_THAT(Log(), ElementsAre("1:4:0:0", "1:5:0:0"));
    Engine()->UpdateOnlyOneProvider(99);
    EXPECT_THAT(Log(), ElementsAre("1:4:0:0", "1:5:0:0", "0:9:0:0"));
}

TEST_F(ARun, OfOneChannelRaisesNoErrorEventWhenItFails) {
    Subscribe({"/dead.xml", "/good.xml"});
    server.Answer("/good.xml", {.body = Feed(Item("a", "l/a"))});
    Engine()->UpdateOnlyOneChannel(1);
    Engine()->UpdateOnlyOneChannel(2);
    EXPECT_THAT(events.lines, ElementsAre("channel c1 1/1", "done c1 1",  //
                                          "channel c2 1/1", "status Storing: a", "items 100", "done c2 2"));
    Engine()->UpdateOnlyOneChannel(3);
    EXPECT_THAT(Log(), ElementsAre("1:3:1:0", "2:4:0:0", "2:5:0:1", "0:9:0:0"));
    EXPECT_THAT(Column("SELECT ID FROM DownloadSessions WHERE EndTime NOT NULL"), SizeIs(3));
}

TEST_F(ARun, CancelledDuringTheLastProviderStillWritesCode7) {
    Subscribe({"/good.xml", "/never.xml"});
    server.Answer("/good.xml", {.body = Feed(Item("a", "l/a") + Item("b", "l/b"))});
    const auto engine = Engine();
    events.meanwhile = [&](const std::string& line) {
        if (line == "status Storing: a") engine->Cancel(true);
    };
    engine->Update();
    EXPECT_TRUE(engine->Cancel());
    EXPECT_EQ(events.lines.back(), "status Download cancelled");
    EXPECT_THAT(Log(), ElementsAre("1:4:0:0", "1:5:0:2", "0:7:0:0"))
        << "a channel being stored is stored whole";
    EXPECT_THAT(Column("SELECT ID FROM DownloadSessions WHERE EndTime NOT NULL"), SizeIs(1));
}

TEST_F(ARun, CancelledWhileAServerIsSilentEndsAtOnceAndTicksMeanwhile) {
    Subscribe({"/stalled.xml", "/never.xml"});
    server.Answer("/stalled.xml", {.stall = true});
    const auto engine = Engine();
    const auto timer = SetTimer(1200, [&](std::uint32_t) { engine->Cancel(true); });
    const auto start = GetTickCount();
    engine->Update();
    KillTimer(timer);
    EXPECT_LT(GetTickCount() - start, 4000U);
    ASSERT_FALSE(events.timer.empty());
    EXPECT_EQ(events.timer.front(), 1);
    EXPECT_THAT(Log(), ElementsAre("1:3:1:0", "0:7:0:0"));
}

TEST_F(ARun, OfOneProviderCancelledWritesNoCode7) {
    Subscribe({"/good.xml", "/never.xml"});
    server.Answer("/good.xml", {.body = Feed(Item("a", "l/a"))});
    const auto engine = Engine();
    events.meanwhile = [&](const std::string&) { engine->Cancel(true); };
    engine->UpdateOnlyOneProvider(1);
    EXPECT_THAT(Log(), ElementsAre("1:4:0:0", "1:5:0:1"));
    EXPECT_EQ(events.lines.back(), "done c1 1");
}

TEST_F(ARun, HasCommittedAChannelBeforeItsDoneEvent) {
    Subscribe({"/good.xml"});
    server.Answer("/good.xml", {.body = Feed(Item("a", "l/a"))});
    DE1 other(folder_ / "RSS.MDB");
    Variant seen;
    events.meanwhile = [&](const std::string& line) {
        if (line == "done c1 1")
            seen = other.CnnRSS()->Scalar(
                "SELECT count(*) FROM News, Channels, DownloadLog WHERE Channels.Channel = 'feed' "
                "AND DownloadLog.Result = 5");
    };
    Engine()->Update();
    EXPECT_EQ(seen, Variant(1));
}

TEST_F(ARun, HoldsNoLockWhileItWaitsForTheNetwork) {
    Subscribe({"/good.xml", "/slow.xml"});
    server.Answer("/good.xml", {.body = Feed(Item("a", "l/a"))});
    server.Answer("/slow.xml", {.body = Feed(Item("b", "l/b")), .delay = std::chrono::milliseconds(300)});
    DE1 other(folder_ / "RSS.MDB");
    bool written = false;
    const auto timer = SetTimer(150, [&](std::uint32_t) {
        other.CnnRSS()->Execute("UPDATE Providers SET Notes = 'meanwhile'");
        written = true;
    });
    Engine()->Update();
    KillTimer(timer);
    EXPECT_TRUE(written);
    EXPECT_THAT(Titles(), ElementsAre("a", "b"));
}

// Texts with values in them would be prepared anew for each channel.
TEST_F(ARun, RunsTheSameStatementsForEveryChannelInFewTransactions) {
    std::string items;
    for (int item = 0; item < 200; ++item)
        items += Item("t" + std::to_string(item), "l/" + std::to_string(item));
    server.Answer("/many", {.body = Feed(items)});
    for (const int id : {1, 2}) {
        AddProvider(id, "'p'");
        AddChannel(id, id, server.Url("/many"));
    }
    std::map<std::string, int> runs;
    database->CnnRSS()->OnStatement([&](std::string_view sql) { ++runs[std::string(sql)]; });
    const auto texts_of_provider = [&](std::int32_t id) {
        runs.clear();
        Engine()->UpdateOnlyOneProvider(id);
        // One is that of the engine's start.
        EXPECT_THAT(runs["COMMIT"], testing::AllOf(testing::Ge(2), testing::Le(20)));
        std::vector<std::string> texts;
        for (const auto& run : runs) texts.push_back(run.first);
        return texts;
    };
    const auto texts = texts_of_provider(1);
    EXPECT_THAT(texts, SizeIs(testing::Gt(8)));
    EXPECT_EQ(texts_of_provider(2), texts);
    database->CnnRSS()->OnStatement({});
}

TEST_F(ARun, WithoutRecordsetsFailsStatementByStatementAndEnds) {
    gErrorsToFile = true;
    CDBUpdate engine(events);
    engine.Update();
    engine.UpdateOnlyOneProvider(1);
    engine.UpdateOnlyOneChannel(1);
    gErrorsToFile = false;
    EXPECT_THAT(events.lines, IsEmpty());
    EXPECT_THAT(reports, SizeIs(1)) << "only the one-channel run asks the handler";
    const auto log = ReadFile(folder_ / "ErrorsLog.txt");
    EXPECT_THAT(log,
                testing::HasSubstr("\tCDBUpdate_Update: Object variable or With block variable not set in "));
    EXPECT_THAT(log, testing::HasSubstr("\tCDBUpdate_UpdateOnlyOneProvider: "));
}

}  // namespace
}  // namespace pellago::test
