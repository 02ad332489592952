#include "platform/http_session.h"

#include "platform/http_transfer.h"
#include "session_fixture.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::PumpFor;
using test::Reply;
using test::WaitUntil;
using testing::HasSubstr;
using testing::StartsWith;

class ReadingAhead : public test::ASession {
protected:
    /// "/1" to "/count", each with its number as text.
    std::vector<std::string> Serve(int count, const Reply& like = {}) {
        std::vector<std::string> addresses;
        for (int number = 1; number <= count; ++number) {
            auto reply = like;
            reply.body = "<a>" + std::to_string(number) + like.body + "</a>";
            server.Answer("/" + std::to_string(number), reply);
            addresses.push_back(server.Url("/" + std::to_string(number)));
        }
        return addresses;
    }
    std::size_t Asked(int count) const {
        std::size_t asked = 0;
        for (int number = 1; number <= count; ++number)
            asked += server.Requests("/" + std::to_string(number));
        return asked;
    }
};

TEST_F(ReadingAhead, HandsOverWhatIsThereAndFetchesAnewWhatIsAskedForOutOfOrder) {
    auto addresses = Serve(8);
    HttpSession session({.cache = false});
    session.Expect(addresses);
    ASSERT_TRUE(WaitUntil([&] { return Asked(8) == 8; }));
    server.Answer("/elsewhere", {.body = "<a>else</a>"});
    EXPECT_EQ(Load(session, addresses.at(0)), "1");
    EXPECT_EQ(Load(session, server.Url("/elsewhere")), "else") << "an address that has changed meanwhile";
    EXPECT_EQ(Load(session, addresses.at(3)), "4") << "two are passed over";
    EXPECT_EQ(Asked(8), 8U);
    EXPECT_EQ(Load(session, addresses.at(1)), "2") << "late";
    EXPECT_EQ(Asked(8), 9U);
    session.Cancel();
    EXPECT_EQ(Load(session, addresses.at(7)), "8") << "nothing of what was cancelled is taken for whole";
    EXPECT_EQ(Asked(8), 10U);
}

TEST_F(ReadingAhead, IsOffWithZero) {
    const auto addresses = Serve(3);
    HttpSession session({.read_ahead = 0});
    session.Expect(addresses);
    PumpFor(50ms);
    EXPECT_EQ(Asked(3), 0U);
    EXPECT_EQ(Load(session, addresses.at(0)), "1");
    EXPECT_EQ(Asked(3), 1U);
}

TEST_F(ReadingAhead, CountsTimeFromTheStartAndGivesUpWhatNobodyAskedForInTime) {
    // A server that sends notices at once when it is left.
    server.Answer("/dead", {.body = std::string(10'000, ' '), .pause_per_byte = 2ms});
    HttpSession session({.time_out = 300ms});
    session.Expect({server.Url("/dead"), server.Url("/dead")});
    PumpFor(150ms);
    const auto taken = [&] {
        return std::make_unique<HttpTransfer>(server.Url("/dead"),
                                              HttpEvents{[](auto&) {}, [](auto) {}, [](auto&) {}}, &session);
    };
    const auto first = taken();
    EXPECT_GE(first->TimeSpent(), 140ms);
    ASSERT_TRUE(WaitUntil([&] { return server.OpenConnections() == 1; })) << "the other is given up";
    PumpFor(300ms);
    EXPECT_GE(first->TimeSpent(), 440ms) << "its owner decides on the one that was taken";
    const auto second = taken();
    EXPECT_GE(second->TimeSpent(), 300ms);
    EXPECT_EQ(server.Requests("/dead"), 2U) << "it is not asked for once more";
}

// While the first is waited for, all others arrive, and are too much to be kept.
TEST_F(ReadingAhead, KeepsNoMoreBodiesThanMayBeAndLosesNone) {
    constexpr int kCount = 40;
    const auto addresses = Serve(kCount, {.body = std::string(std::size_t{4} << 20U, ' ')});
    server.Answer("/1", {.body = "<a>1</a>", .delay = 1500ms});
    HttpSession session({.cache = false});
    session.Expect(addresses);
    EXPECT_EQ(Load(session, addresses.at(0)), "1");
    EXPECT_LE(Asked(kCount), 1 + HttpSession::kMaxUnread / (std::size_t{4} << 20U) + HttpSession::kPerHost);
    for (int number = 2; number <= kCount; ++number)
        ASSERT_EQ(Load(session, addresses.at(static_cast<std::size_t>(number - 1))), std::to_string(number));
}

TEST_F(ReadingAhead, IsAllOverAtOnceWhenItIsCancelled) {
    const auto addresses = Serve(20, {.body = std::string(10'000, ' '), .pause_per_byte = 2ms});
    HttpSession session({});
    session.Expect(addresses);
    ASSERT_TRUE(WaitUntil([&] { return server.OpenConnections() == HttpSession::kPerHost; }));
    PumpFor(50ms);
    EXPECT_EQ(Asked(20), HttpSession::kPerHost) << "the rest waits for its turn";
    session.Cancel();
    EXPECT_TRUE(WaitUntil([&] { return server.OpenConnections() == 0; }, 2s));
}

TEST_F(ReadingAhead, FollowsRedirectsAndFailsAsWithout) {
    server.Answer("/loop", test::Redirect("/loop"));
    server.Answer("/off", test::Redirect("ftp://127.0.0.1/"));
    server.Answer("/on", test::Redirect("/1"));
    Serve(1);
    HttpSession session({});
    session.Expect({server.Url("/loop"), server.Url("/off"), server.Url("/on"), "http://", "ftp://a/"});
    PumpFor(100ms);
    EXPECT_THAT(Load(session, server.Url("/loop")), HasSubstr("redirects more than 5 times"));
    EXPECT_THAT(Load(session, server.Url("/off")), HasSubstr("not on the web"));
    EXPECT_EQ(Load(session, server.Url("/on")), "1");
    EXPECT_THAT(Load(session, "http://"), StartsWith("!"));
}

}  // namespace
}  // namespace pellago
