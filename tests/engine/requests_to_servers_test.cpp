#include "support/a_run.h"

namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// What the servers see of a run.
class AServerOfARun : public ARun {
protected:
    /// Channels 1, 2, … of provider 1, each with one item, at the same paths of so many hosts.
    void SubscribeToHosts(int hosts, int paths, const Reply& like) {
        AddProvider(1, "'p1'");
        for (int path = 1; path <= paths; ++path) {
            auto reply = like;
            const auto name = std::to_string(path);
            if (reply.status == 200) reply.body = Feed(Item(name, "l/" + name));
            server.Answer("/" + name, reply);
        }
        int id = 0;
        for (int host = 1; host <= hosts; ++host)
            for (int path = 1; path <= paths; ++path)
                AddChannel(++id, 1, server.Url("/" + std::to_string(path), host));
    }

    std::size_t Loaded() {
        return Column(
                   "SELECT id FROM DownloadLog WHERE Result = 4 AND Session = (SELECT max(ID) FROM "
                   "DownloadSessions)")
            .size();
    }
    static void ReadAhead(const std::string& transfers) {
        gAppSettings->SaveSetting("Settings", "ReadAhead", Variant(transfers));
    }
};

TEST_F(AServerOfARun, HasNeverMoreThan64RequestsAtATimeAnd6OfThemAtOneHost) {
    SubscribeToHosts(40, 8, {.delay = 40ms});
    Engine()->Update();
    EXPECT_EQ(Loaded(), 320U);
    const auto counts = server.Counts();
    EXPECT_EQ(counts.requests, 320U);
    EXPECT_LE(counts.peak, 64U);
    EXPECT_GT(counts.peak, 40U);
    EXPECT_LE(counts.peak_of_a_host, 6U);
}

TEST_F(AServerOfARun, ThatIsTheOnlyOneHasSixRequestsAtATime) {
    SubscribeToHosts(1, 40, {.delay = 20ms});
    Engine()->Update();
    EXPECT_EQ(Loaded(), 40U);
    EXPECT_EQ(server.Counts().peak, 6U);
    EXPECT_LE(server.Connections(), 6U);
}

TEST_F(AServerOfARun, ToWhichAllOthersRedirectHasNoMoreThanSix) {
    SubscribeToHosts(50, 1, Redirect(server.Url("/target", 200)));
    server.Answer("/target", {.body = Feed(""), .delay = 20ms});
    Engine()->Update();
    EXPECT_EQ(Loaded(), 50U);
    EXPECT_EQ(server.Requests("/target"), 50U);
    EXPECT_LE(server.Counts().peak_of_a_host, 6U);
}

TEST_F(AServerOfARun, IsAskedOneByOneWithoutReadAheadAndAsFarAheadAsIsSet) {
    SubscribeToHosts(20, 1, {.delay = 20ms});
    ReadAhead("0");
    Engine()->Update();
    EXPECT_EQ(server.Counts().peak, 1U);
    ReadAhead("3");
    Engine()->Update();
    EXPECT_THAT(server.Counts().peak, AllOf(testing::Ge(2U), testing::Le(4U)));
}

TEST_F(AServerOfARun, WithNothingNewIsAskedWithItsValidatorsByteForByte) {
    const struct {
        const char* path;
        Reply reply;
        std::vector<std::string> sent_back;
    } feeds[] = {
        {"/strong", {.etag = "\"1\""}, {"If-None-Match: \"1\"\r\n"}},
        {"/weak", {.etag = "W/\"a  \xc3\xa4;b\""}, {"If-None-Match: W/\"a  \xc3\xa4;b\"\r\n"}},
        {"/bare", {.etag = "not, quoted"}, {"If-None-Match: not, quoted\r\n"}},
        {"/date", {.last_modified = "last  tuesday, 4:00"}, {"If-Modified-Since: last  tuesday, 4:00\r\n"}},
        {"/both",
         {.etag = "\"2\"", .last_modified = "Tue, 10 Jun 2003 04:00:00 GMT"},
         {"If-None-Match: \"2\"\r\n", "If-Modified-Since: Tue, 10 Jun 2003 04:00:00 GMT\r\n"}},
    };
    AddProvider(1, "'p1'");
    int id = 0;
    for (auto [path, reply, sent_back] : feeds) {
        reply.headers = {{"Set-Cookie", "id=1; Path=/"}};
        reply.body = Feed(Item(path, path));
        server.Answer(path, reply);
        AddChannel(++id, 1, server.Url(path));
    }
    Engine()->Update();
    for (const auto& feed : feeds)
        EXPECT_THAT(server.LastRequest(feed.path) + "\r\n", Not(HasSubstr("\r\nIf-"))) << feed.path;
    for (std::size_t run = 1; run <= 2; ++run) {
        Engine()->Update();
        EXPECT_EQ(server.Counts().not_modified, run * std::size(feeds));
    }
    EXPECT_EQ(Loaded(), std::size(feeds));
    EXPECT_EQ(Titles().size(), std::size(feeds));
    for (const auto& feed : feeds) {
        const auto request = server.LastRequest(feed.path) + "\r\n";
        for (const auto& line : feed.sent_back) EXPECT_THAT(request, HasSubstr("\r\n" + line));
        EXPECT_THAT(request, AllOf(Not(HasSubstr("Cookie")), HasSubstr("\r\nUser-Agent: Pellago/")));
    }
}

}  // namespace
}  // namespace pellago::test
