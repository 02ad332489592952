#include "feeds/items.h"

#include <gmock/gmock.h>

#include "feeds/channel.h"

namespace pellago {
namespace {

using testing::ElementsAre;

clsItems ItemsOf(const std::vector<std::pair<std::string, int>>& titles_and_days) {
    clsItems items;
    for (const auto& [title, day] : titles_and_days) {
        const auto item = std::make_shared<ClsItem>();
        item->Title(title);
        item->ItemDate(ComposeDate(2003, 6, day));
        items.Add(item);
    }
    return items;
}

std::vector<std::string> Titles(const clsItems& items) {
    std::vector<std::string> titles;
    for (const auto& item : items.NewEnum()) titles.push_back(item->Title());
    return titles;
}

TEST(Items, SortEarliestFirstAndKeepTheOrderOfEqualDates) {
    auto items = ItemsOf({{"c", 3}, {"a1", 1}, {"b", 2}, {"a2", 1}, {"a3", 1}});
    items.SortByDate();
    EXPECT_THAT(Titles(items), ElementsAre("a1", "a2", "a3", "b", "c"));
    items.Clear();
    items.SortByDate();
    EXPECT_EQ(items.Count(), 0);
}

TEST(Items, HaveNothingOutsideTheirPlaces) {
    const auto items = ItemsOf({{"a", 1}, {"b", 2}});
    EXPECT_EQ(items.Item(0), nullptr);
    EXPECT_EQ(items.Item(-1), nullptr);
    EXPECT_EQ(items.Item(3), nullptr);
    ASSERT_NE(items.Item(2), nullptr);
    EXPECT_EQ(items.Item(2)->Title(), "b");
}

TEST(Items, StayWithWhoeverHoldsThem) {
    auto items = ItemsOf({{"a", 1}});
    const auto held = items.Item(1);
    for (const auto& item : items.NewEnum()) {
        items.Clear();
        EXPECT_EQ(item->Title(), "a");
    }
    EXPECT_EQ(held->Title(), "a");
}

TEST(Records, BeginWithoutKnowledge) {
    const clsChannel channel;
    for (const auto& text : {channel.Copyright(), channel.Description(), channel.lastBuildDate(),
                             channel.Link(), channel.Title()})
        EXPECT_EQ(text, "N/A");
    for (const auto& text : {channel.ImageLink(), channel.ImageTitle(), channel.imageURL()})
        EXPECT_EQ(text, "");
    EXPECT_EQ(channel.ChannelDate(), DateTime());
    EXPECT_EQ(channel.Items().Count(), 0);
    const ClsItem item;
    for (const auto& text : {item.Title(), item.Description(), item.Link(), item.pubDate(), item.guid()})
        EXPECT_EQ(text, "N/A");
    EXPECT_EQ(item.ItemDate(), DateTime());
}

}  // namespace
}  // namespace pellago
