#include <gmock/gmock.h>

#include <chrono>

#include "feeds/channel.h"
#include "platform/loop/thread_timer.h"
#include "support/http_server.h"
#include "support/support.h"

namespace pellago {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char* kFeed = "<rss><channel><title>fresh</title><item/></channel></rss>";

/// Calls something once, from inside the message loop.
class Later final : public iTimer {
public:
    Later(milliseconds after, std::function<void()> action) : action_(std::move(action)) {
        timer_ = std::make_unique<cTimer>();
        timer_->start(static_cast<std::int32_t>(after.count()), *this);
    }
    void iTimer_Fire(std::int32_t /*elapsed_ms*/) override {
        timer_.reset();
        action_();
    }

private:
    std::function<void()> action_;
    std::unique_ptr<cTimer> timer_;
};

class LoadingAFeed : public testing::Test {
protected:
    test::TempDir folder_;
    test::EnvVar cache_{"XDG_CACHE_HOME", folder_ / "cache"};
    test::HttpServer server_;
    clsChannel channel_;
};

TEST_F(LoadingAFeed, TakesWebAddressesFileAddressesAndPaths) {
    test::WriteFile(folder_ / "feed.xml", kFeed);
    server_.Answer("/feed.xml", {.body = kFeed});
    for (const auto& address :
         {server_.Url("/feed.xml"), "file://" + folder_ / "feed.xml", folder_ / "feed.xml"}) {
        clsChannel channel;
        EXPECT_TRUE(channel.Load(address)) << address;
        EXPECT_EQ(channel.Title(), "fresh") << address;
        EXPECT_EQ(channel.Items().Count(), 1) << address;
    }
}

TEST_F(LoadingAFeed, ThatFailsLeavesTheChannelAsItWas) {
    server_.Answer("/good.xml", {.body = kFeed});
    server_.Answer("/gone.xml", {.status = 404, .body = kFeed});
    server_.Answer("/broken.xml", {.body = "<rss><channel><title>broken</title>"});
    ASSERT_TRUE(channel_.Load(server_.Url("/good.xml")));
    for (const char* path : {"/gone.xml", "/broken.xml"}) {
        EXPECT_FALSE(channel_.Load(server_.Url(path))) << path;
        EXPECT_NE(channel_.LoadError(), "") << path;
    }
    for (const char* address : {"", "/nowhere/feed.xml", "ftp://127.0.0.1/feed.xml"})
        EXPECT_FALSE(channel_.Load(address)) << address;
    EXPECT_EQ(channel_.Title(), "fresh");
    EXPECT_EQ(channel_.Items().Count(), 1);
}

TEST_F(LoadingAFeed, IsCancelledAtOnceFromInsideAnEvent) {
    server_.Answer("/stalled.xml", {.stall = true});
    const Later cancel(milliseconds(50), [&] { channel_.CancelLoading(); });
    const auto start = steady_clock::now();
    EXPECT_FALSE(channel_.Load(server_.Url("/stalled.xml")));
    EXPECT_LT(steady_clock::now() - start, milliseconds(2000));
    server_.Answer("/good.xml", {.body = kFeed});
    EXPECT_TRUE(channel_.Load(server_.Url("/good.xml"))) << "a cancel holds for one load";
}

TEST_F(LoadingAFeed, TimesOutWhileDataArrivesAndNotAfterwards) {
    server_.Answer("/stalled.xml", {.stall = true});
    cTimer timer;
    timer.start(50, channel_);
    EXPECT_FALSE(channel_.Load(server_.Url("/stalled.xml")));
    EXPECT_EQ(channel_.LoadError(), "The feed did not arrive within 60 seconds");
    server_.Answer("/good.xml", {.body = kFeed});
    channel_.iTimer_Fire(60'000);
    EXPECT_TRUE(channel_.Load(server_.Url("/good.xml"))) << "a time-out without a load is nothing";
}

}  // namespace
}  // namespace pellago
