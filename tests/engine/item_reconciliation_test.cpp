#include "infra/errors_to_file.h"
#include "platform/values/text.h"
#include "support/a_run.h"

namespace pellago::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class StoringItems : public ARun {
protected:
    void Run(const std::string& feed) {
        events.lines.clear();
        server.Answer("/feed.xml", {.body = feed});
        Engine()->Update();
    }
    /// NewItems of the last code 5 row.
    std::string Added() {
        return Column("SELECT NewItems FROM DownloadLog WHERE Result = 5 ORDER BY id DESC LIMIT 1").at(0);
    }
    StoringItems() { Subscribe({"/feed.xml"}); }
};

TEST_F(StoringItems, AddsWhatIsNewAndOnlyOnce) {
    const auto feed = Feed(Item("a", "l/a") + Item("b", "l/b") + Item("c", "l/c") + Item("again", "l/a"));
    Run(feed);
    EXPECT_EQ(Added(), "3");
    EXPECT_THAT(Titles(), ElementsAre("a", "b", "c"));
    EXPECT_THAT(Column("SELECT guid FROM News WHERE IsRead = 0"), ElementsAre("a", "b", "c"));
    EXPECT_THAT(events.lines, testing::IsSupersetOf({"items 25", "items 50", "items 75", "items 100"}));
    Run(feed);
    EXPECT_EQ(Added(), "0");
    EXPECT_THAT(Titles(), SizeIs(3));
}

TEST_F(StoringItems, RoundsTheShareHalfToEven) {
    std::string items;
    for (const char* link : {"1", "2", "3", "4", "5", "6", "7", "8"}) items += Item(link, link);
    Run(Feed(items));
    EXPECT_THAT(events.lines, testing::IsSupersetOf({"items 12", "items 38", "items 62", "items 88"}));
}

TEST_F(StoringItems, KnowsAnItemByItsExactLinkWhateverElseChanged) {
    Run(Feed(Item("a", "l/a")));
    Run(Feed(Item("changed", "l/a", "2004-01-01 00:00", "changed") + Item("case", "L/A")));
    EXPECT_THAT(Titles(), ElementsAre("a", "case"));
}

TEST_F(StoringItems, KnowsAnItemOfAnotherChannelNot) {
    AddChannel(2, 1, server.Url("/feed.xml"));
    Run(Feed(Item("a", "l/a")));
    EXPECT_THAT(Column("SELECT Channel FROM News ORDER BY ID"), ElementsAre("1", "2"));
}

TEST_F(StoringItems, WithoutALinkKnowsAnItemByDateTitleAndText) {
    Run(Feed(Item("a", "")));
    Run(Feed(Item("a", "")));
    EXPECT_THAT(Titles(), SizeIs(1));
    Run(Feed(Item("a", "", "2003-06-10 04:00", "other text") + Item("a", "", "2003-06-10 05:00") +
             Item("A", "")));
    EXPECT_THAT(Titles(), SizeIs(4));
}

TEST_F(StoringItems, WithoutALinkElementTakesThemAllForTheFirst) {
    Run(Feed("<item><title>a</title></item><item><title>b</title></item>"));
    EXPECT_THAT(Titles(), ElementsAre("a"));
    EXPECT_THAT(Column("SELECT Link FROM News"), ElementsAre("N/A"));
}

TEST_F(StoringItems, CutsToTheColumnsLimitsAndStillKnowsThem) {
    const std::string title(300, 't');
    const std::string text(11'000, 'd');
    const auto feed = "<rss><channel><title>" + std::string(99, 'c') + "\U0001F600</title><copyright>" +
                      std::string(300, 'x') + "</copyright>" + Item(title, "", "2003-06-10 04:00", text) +
                      "</channel></rss>";
    Run(feed);
    EXPECT_THAT(events.lines, testing::Contains("status Storing: " + title)) << "the owner sees it whole";
    Run(feed);
    EXPECT_THAT(Titles(), ElementsAre(std::string(255, 't')));
    EXPECT_THAT(Column("SELECT Description FROM News"), ElementsAre(std::string(10'240, 'd')));
    EXPECT_THAT(Column("SELECT Copyright FROM Channels"), ElementsAre(std::string(255, 'x')));
    EXPECT_THAT(Column("SELECT Channel FROM Channels"), ElementsAre(std::string(99, 'c')))
        << "no half character";
}

TEST_F(StoringItems, RefreshesTheChannelRowEvenWithoutItems) {
    database->CnnRSS()->Execute("UPDATE Channels SET imageurl = 'old', Link = 'old'");
    Run(Feed(""));
    EXPECT_EQ(Added(), "0");
    EXPECT_THAT(Column("SELECT Channel FROM Channels"), ElementsAre("feed"));
    EXPECT_THAT(Column("SELECT Link FROM Channels"), ElementsAre("N/A"));
    EXPECT_THAT(Column("SELECT imageurl FROM Channels"), ElementsAre(""));
    EXPECT_THAT(Column("SELECT lastBuildDate AS D FROM Channels WHERE lastBuildDate LIKE '2003-06-1%'"),
                SizeIs(1));
    EXPECT_THAT(events.lines,
                ElementsAre("provider p1 1/1", "channel c1 1/1", "items 0", "status ", "done c1 1"));
}

TEST_F(StoringItems, ThatTheDatabaseRejectsGivesARowWithCode10AndGoesOn) {
    database->CnnRSS()->Execute(
        "CREATE TRIGGER reject BEFORE INSERT ON News WHEN new.Title = 'bad' BEGIN SELECT RAISE(ABORT, "
        "'rejected'); "
        "END");
    gErrorsToFile = true;
    Run(Feed(Item("a", "l/a") + Item("bad", "l/bad", "2003-06-10 04:01", "its text") +
             Item("c", "l/c", "2003-06-10 04:02")));
    gErrorsToFile = false;
    EXPECT_THAT(Titles(), ElementsAre("a", "c"));
    EXPECT_THAT(Log(), ElementsAre("1:4:0:0", "1:10:1:0", "1:5:0:3"));
    const auto log = ReadFile(folder_ / "ErrorsLog.txt");
    EXPECT_THAT(log, HasSubstr("\tCDBUpdate_UpdateItems: "));
    EXPECT_THAT(log, HasSubstr("rejected"));
    EXPECT_THAT(log, HasSubstr(" its text"));
    EXPECT_THAT(reports, IsEmpty());
}

}  // namespace
}  // namespace pellago::test
