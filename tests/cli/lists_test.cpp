#include <filesystem>

#include "cli_fixture.h"

namespace pellago::test {
namespace {

using testing::HasSubstr;

class AList : public ACommandLine {};

TEST_F(AList, ExportedAndImportedGivesTheSameProvidersAndChannels) {
    const auto list = File("in.opml", Opml(R"(
        <outline text="&lt;A &amp; &quot;B&quot;&gt;  C&#9;&#13;&#10;D" htmlUrl="http://a.example/?x=1&amp;y">
          <outline type="rss" text="caf&#233; &#128512;" xmlUrl="http://a.example/?x=1&amp;y=%20" htmlUrl="http://a.example/"/>
          <outline type="rss" text="off" xmlUrl="https://a.example/2" isComment="true"/>
        </outline>
        <outline text="empty"/>
        <outline text="none takes part" isComment="true"><outline xmlUrl="file:///tmp/%C3%A9.xml"/></outline>)"));
    EXPECT_EQ(Run({"import", list}).out, "added 3 providers and 3 channels; 0 channels were there already\n");
    ASSERT_EQ(Run({"export", folder_ / "first.opml"}).status, 0);
    const auto providers = Run({"provider", "list"}).out;
    const auto channels = Run({"channel", "list"}).out;

    const auto copy = folder_ / "copy.mdb";
    Run({"--database", copy, "init"});
    Run({"--database", copy, "import", folder_ / "first.opml"});

    EXPECT_THAT(channels, HasSubstr("\t1\tcaf\xC3\xA9 \xF0\x9F\x98\x80\thttp://a.example/?x=1&y=%20\n"));
    EXPECT_THAT(channels, HasSubstr("2\toff\t1\toff\thttps://a.example/2\n"));
    EXPECT_EQ(Run({"--database", copy, "provider", "list"}).out, providers);
    EXPECT_EQ(Run({"--database", copy, "channel", "list"}).out, channels);
    EXPECT_EQ(Run({"--database", copy, "export", "-"}).out, ReadFile(folder_ / "first.opml"));
}

TEST_F(AList, GivesFeedsToTheInnermostNamedFolderAndOthersToTheirHost) {
    const auto list = File("list.opml", Opml(R"(
        <outline text="Outer"><outline text="Inner"><outline><outline xmlUrl="http://x.example/1"/></outline></outline></outline>
        <outline type="RSS" title="Old form" url="feed://user@Host.Example:8080/2"/>
        <outline xmlurl="feed:https://host.example/3"/>)"));

    Run({"import", list});

    EXPECT_EQ(Run({"provider", "list"}).out, "1\ton\tInner\t\n2\ton\thost.example\t\n");
    EXPECT_EQ(Run({"channel", "list", "--provider", "2"}).out,
              "2\ton\t2\tOld form\thttp://user@Host.Example:8080/2\n"
              "3\ton\t2\thttps://host.example/3\thttps://host.example/3\n");
}

TEST_F(AList, BringsItsFeedsAlongByRelativeAddresses) {
    const auto list = File("list.opml", Opml(R"(
        <outline xmlUrl="./feeds/../other%20one.xml"/><outline xmlUrl="/absolute/&#246;.xml"/>)"));

    Run({"import", list});

    const auto base = "file://" + folder_.Path().string();
    EXPECT_EQ(Ask("SELECT httpRSSFile FROM Channels WHERE ID = 1"), base + "/other%20one.xml");
    EXPECT_EQ(Ask("SELECT httpRSSFile FROM Channels WHERE ID = 2"), "file:///absolute/%C3%B6.xml");
    EXPECT_EQ(Ask("SELECT Provider FROM Providers"), "Local files");
}

TEST_F(AList, LeavesAnAddressAloneThatIsThere) {
    Run({"provider", "add", "Mine"});
    Run({"channel", "add", "http://x.example/1", "--provider", "1", "--name", "My name"});
    const auto list = File("list.opml", Opml(R"(<outline text="Theirs">
        <outline text="Their name" xmlUrl="http://x.example/1"/></outline>
        <outline text="Mine"><outline text="case counts" xmlUrl="http://x.example/1A"/>
        <outline text="again" xmlUrl="http://x.example/1A"/></outline>)"));
    EXPECT_EQ(Run({"import", list}).out, "added 0 providers and 1 channel; 2 channels were there already\n");
    EXPECT_EQ(Run({"channel", "list"}).out,
              "1\ton\t1\tMy name\thttp://x.example/1\n2\ton\t1\tcase counts\thttp://x.example/1A\n");
}

TEST_F(AList, IsKeptWhollyOrNotAtAll) {
    Run({"init"});
    Change(
        "CREATE TRIGGER Rejecting BEFORE INSERT ON Channels WHEN NEW.httpRSSFile = 'http://x.example/2' "
        "BEGIN SELECT RAISE(FAIL, 'rejected'); END");
    const auto list = File("list.opml", Opml(R"(<outline text="P"><outline xmlUrl="http://x.example/1"/>
        <outline xmlUrl="http://x.example/2"/></outline>)"));

    const auto outcome = Run({"import", list});

    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.err, HasSubstr("rejected"));
    EXPECT_EQ(Run({"provider", "list"}).out + Run({"channel", "list"}).out, "");
}

TEST_F(AList, ThatIsNoneIsRejectedWithAReasonAndWithoutATrace) {
    const std::vector<std::pair<std::string, int>> cases = {
        {File("page.html", "<!DOCTYPE html><html><body><p>Hello<br></body></html>"), 65},
        {File("xhtml.html", "<html><body><outline xmlUrl=\"http://x.example/\"/></body></html>"), 65},
        {File("cut.opml", "<opml><body><outline xmlUrl=\"http://x.example/\"/>"), 65},
        {File("empty.opml", ""), 65},
        {File("no body.opml", "<opml><head/></opml>"), 65},
        {folder_ / "missing.opml", 66},
        {folder_.Path().string(), 66},
    };
    for (const auto& [path, status] : cases) {
        const auto outcome = Run({"import", path});
        EXPECT_EQ(outcome.status, status) << path;
        EXPECT_THAT(outcome.err, HasSubstr(path)) << path;
        EXPECT_EQ(outcome.out, "") << path;
    }
    EXPECT_FALSE(std::filesystem::exists(Database()));
}

TEST_F(AList, ReplacesTheFileItIsExportedToAndKeepsItsRights) {
    namespace fs = std::filesystem;
    const auto path = File("list.opml", "old");
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    fs::create_symlink("list.opml", folder_.Path() / "link.opml");

    EXPECT_EQ(Run({"export", folder_ / "link.opml"}).status, 0);

    EXPECT_THAT(ReadFile(path), HasSubstr("<opml version=\"2.0\">"));
    EXPECT_TRUE(fs::is_symlink(folder_.Path() / "link.opml"));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(Run({"export", folder_ / "no folder/list.opml"}).status, 77);
    EXPECT_EQ(Run({"export", "/dev/full"}).status, 77);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

}  // namespace
}  // namespace pellago::test
