#include <gmock/gmock.h>

#include "feeds/channel.h"
#include "feeds/rss_date_time.h"
#include "infra/errors_to_file.h"
#include "platform/system/message_box.h"
#include "platform/values/text.h"
#include "support/support.h"

namespace pellago {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

const DateTime kNow = ComposeDate(2026, 1, 2, 3, 4, 5);

DateTime Local(const char* utc) {
    return FromColumnText(utc).value().AddMinutes(gRSSDateTime().GetTimeDifference());
}

class AFeed : public testing::Test {
protected:
    AFeed() {
        ReplaceClock([] { return kNow; });
    }
    ~AFeed() override {
        ReplaceClock({});
        gErrorsToFile = false;
    }

    bool Load(const std::string& document) {
        test::WriteFile(folder_ / "feed.xml", document);
        return channel_.Load(folder_ / "feed.xml");
    }
    bool LoadFile(const std::string& name) {
        return channel_.Load(std::string(PELLAGO_TEST_DATA) + "/" + name);
    }

    std::vector<std::string> Titles() const {
        std::vector<std::string> titles;
        for (const auto& item : channel_.Items().NewEnum()) titles.push_back(item->Title());
        return titles;
    }

    test::TempDir folder_;
    clsChannel channel_;
};

TEST_F(AFeed, InRss20GivesChannelImageAndItemsInTheOrderOfTheirDates) {
    ASSERT_TRUE(LoadFile("rss20_three_items.xml"));
    EXPECT_EQ(channel_.Title(), "Three items & a channel");
    EXPECT_EQ(channel_.Link(), "http://feeds.example/");
    EXPECT_EQ(channel_.Description(), "What happened");
    EXPECT_EQ(channel_.Copyright(), "(c) nobody");
    EXPECT_EQ(channel_.lastBuildDate(), "Tue, 10 Jun 2003 09:41:01 GMT");
    EXPECT_EQ(channel_.ChannelDate(), Local("2003-06-10 09:41:01"));
    EXPECT_EQ(channel_.ImageLink(), "http://feeds.example/image");
    EXPECT_EQ(channel_.ImageTitle(), "An image");
    EXPECT_EQ(channel_.imageURL(), "http://feeds.example/image.png");
    ASSERT_THAT(Titles(), ElementsAre("earliest", "middle", "latest"));
    const auto item = channel_.Items().Item(1);
    EXPECT_EQ(item->Link(), "http://feeds.example/1");
    EXPECT_EQ(item->Description(), "text with markup & <b>more</b>");
    EXPECT_EQ(item->guid(), "guid-1");
    EXPECT_EQ(item->ItemDate(), Local("2003-06-08 00:00:00"));
}

TEST_F(AFeed, InRdfHasItsItemsBesideTheChannelAndReadsNoForeignNames) {
    ASSERT_TRUE(LoadFile("rdf_dc_dates_sibling_image.rdf"));
    EXPECT_EQ(channel_.Title(), "RDF channel");
    EXPECT_EQ(channel_.imageURL(), "") << "the image beside the channel is not the channel's";
    ASSERT_THAT(Titles(), ElementsAre("one", "two"));
    EXPECT_EQ(channel_.Items().Item(1)->ItemDate(), kNow) << "dc:date is not pubDate";
    EXPECT_EQ(channel_.ChannelDate(), kNow);
}

TEST_F(AFeed, InRdfWithoutAChannelStillHasItsItems) {
    ASSERT_TRUE(Load("<r:RDF xmlns:r='r'><item><title>alone</title></item></r:RDF>"));
    EXPECT_THAT(Titles(), ElementsAre("alone"));
    EXPECT_EQ(channel_.Title(), "N/A");
}

TEST_F(AFeed, InAtomTakesTheLinkOfTypeHtml) {
    ASSERT_TRUE(LoadFile("atom03_links_of_other_types.atom"));
    EXPECT_EQ(channel_.Title(), "Atom channel");
    EXPECT_EQ(channel_.Link(), "http://feeds.example/html");
    EXPECT_EQ(channel_.Description(), "the tagline");
    EXPECT_EQ(channel_.ChannelDate(), Local("2003-12-13 18:30:02"));
    ASSERT_THAT(Titles(), ElementsAre("other types", "html"));
    EXPECT_EQ(channel_.Items().Item(1)->Link(), "N/A");
    const auto item = channel_.Items().Item(2);
    EXPECT_EQ(item->Link(), "http://feeds.example/entry");
    EXPECT_EQ(item->guid(), "tag:2");
    EXPECT_EQ(item->Description(), "some content");
    EXPECT_EQ(item->ItemDate(), Local("2003-12-13 12:29:29"));
}

TEST_F(AFeed, WithoutADateOfItsOwnTakesThatOfItsLatestItem) {
    ASSERT_TRUE(
        Load("<rss><channel><item><pubDate>2003-06-10 04:00</pubDate></item>"
             "<item><pubDate>2003-06-09 04:00</pubDate></item></channel></rss>"));
    EXPECT_EQ(channel_.ChannelDate(), Local("2003-06-10 04:00:00"));
}

TEST_F(AFeed, WithoutChannelOrWithoutItemsAndDateLeavesTheChannelDate) {
    ASSERT_TRUE(Load("<rss><item><title>outside</title></item></rss>"));
    EXPECT_THAT(Titles(), IsEmpty());
    ASSERT_TRUE(Load("<rss><channel><lastBuildDate>soon</lastBuildDate></channel></rss>"));
    EXPECT_EQ(channel_.ChannelDate(), DateTime());
}

TEST_F(AFeed, KeepsWhatTheFeedBeforeGaveWhereItGivesNothing) {
    ASSERT_TRUE(LoadFile("rss20_three_items.xml"));
    ASSERT_TRUE(Load("<rss><channel><title></title><item/></channel></rss>"));
    EXPECT_EQ(channel_.Title(), "") << "present but empty is given";
    EXPECT_EQ(channel_.Copyright(), "(c) nobody");
    EXPECT_EQ(channel_.imageURL(), "http://feeds.example/image.png");
    EXPECT_EQ(channel_.ChannelDate(), Local("2003-06-10 09:41:01"));
    EXPECT_THAT(Titles(), ElementsAre("N/A"));
}

TEST_F(AFeed, OfAnUnknownFormatIsLoadedAndHasNoItems) {
    ASSERT_TRUE(LoadFile("rss20_three_items.xml"));
    ASSERT_TRUE(Load("<html><channel><title>no feed</title></channel></html>"));
    EXPECT_THAT(Titles(), IsEmpty());
    EXPECT_EQ(channel_.Title(), "Three items & a channel");
    ASSERT_TRUE(Load("<x:Rss xmlns:x='x'><channel><title>by local name</title></channel></x:Rss>"));
    EXPECT_EQ(channel_.Title(), "by local name");
}

TEST_F(AFeed, WithDatesThatCannotBeReadIsDatedNowAndLoggedOnlyWhenAsked) {
    const test::EnvVar home("PELLAGO_HOME", folder_.Path().string());
    const std::string feed =
        "<rss><channel><title>T</title><lastBuildDate>soon</lastBuildDate>"
        "<item><title>I</title><pubDate>Someday</pubDate></item></channel></rss>";
    ASSERT_TRUE(Load(feed));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "ErrorsLog.txt"));
    gErrorsToFile = true;
    ASSERT_TRUE(Load(feed));
    EXPECT_EQ(channel_.Items().Item(1)->ItemDate(), kNow);
    EXPECT_EQ(channel_.ChannelDate(), kNow);
    const auto stamp = "Pellago:\t" + DefaultText(kNow) + "\t";
    EXPECT_EQ(
        Replace(test::ReadFile(folder_ / "ErrorsLog.txt"), "\r", ""),
        stamp + "Item: I: Date parse error: Someday\n" + stamp + "Channel: T: Date parse error: soon\n");
}

TEST_F(AFeed, InAtomTellsTheUserOfADateThatCannotBeRead) {
    std::vector<std::string> shown;
    UseMessageBox([&](const MessageBoxRequest& box) {
        shown.push_back(box.text);
        return MessageBoxAnswer::kOk;
    });
    EXPECT_TRUE(Load("<feed><entry><title>E</title><issued>Someday</issued></entry></feed>"));
    UseMessageBox({});
    EXPECT_THAT(shown, ElementsAre("Item: E: Date parse error: Someday"));
    ASSERT_THAT(Titles(), ElementsAre("E"));
    EXPECT_EQ(channel_.Items().Item(1)->ItemDate(), kNow);
}

}  // namespace
}  // namespace pellago
