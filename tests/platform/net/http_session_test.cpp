#include "platform/net/http_session.h"

#include <sys/resource.h>

#include "session_fixture.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::Load;
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
        auto source = session.Open(server.Url("/dead"));
        source->Start({[](auto&) {}, [](auto) {}, [](auto&) {}});
        return source;
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
    EXPECT_LE(Asked(kCount),
              1 + HttpSession::kMaxUnread / (std::size_t{4} << 20U) + 2 * HttpSession::kPerHost);
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

// They unpack to a thousand times their size, all in the same moment.
TEST_F(ReadingAhead, KeepsNoMoreOfPackedBodiesThanMayBe) {
    constexpr int kHosts = 30;
    server.Answer("/1", {.body = "<a>1</a>", .delay = 1500ms});
    server.Answer("/bomb", {.headers = {{"Content-Encoding", "gzip"}},
                            .body = test::Gzip("<a>" + std::string(40'000'000, ' ') + "</a>"),
                            .delay = 200ms});
    std::vector<std::string> addresses{server.Url("/1", 99)};
    for (int host = 1; host <= kHosts; ++host) addresses.push_back(server.Url("/bomb", host));
    const auto peak = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss / 1024;
    };
    const auto before = peak();
    HttpSession session({.cache = false});
    session.Expect(addresses);
    EXPECT_EQ(Load(session, addresses.front()), "1");
    EXPECT_LT(peak() - before, 400) << "MiB; all of them have 1144";
}

class AHostReadAhead : public ReadingAhead {
protected:
    /// How the addresses of a new session end, one after the other.
    std::vector<std::string> Outcomes(const std::vector<std::string>& addresses, std::int32_t read_ahead,
                                      std::chrono::milliseconds time_out) {
        HttpSession session({.read_ahead = read_ahead, .cache = false, .time_out = time_out});
        session.Expect(addresses);
        std::vector<std::string> outcomes;
        for (const auto& address : addresses) {
            XmlDocument document(test::By(session));
            document.Load(address);
            const auto left = time_out - document.TimeSpent();
            const bool in_time = WaitUntil([&] { return test::IsComplete(document); }, left);
            outcomes.push_back(in_time && document.DocumentElement() ? document.DocumentElement()->Text()
                                                                     : "!");
        }
        return outcomes;
    }
};

// The others wait in its queue, longer than any of them would take alone.
TEST_F(AHostReadAhead, ThatServesOneAtATimeAndSlowlyLosesNoFeed) {
    for (const int read_ahead : {0, 64}) {
        test::HttpServer one(test::HttpServer::Connecting::kOneOthersWait);
        std::vector<std::string> addresses;
        for (int number = 0; number < 6; ++number) {
            one.Answer("/" + std::to_string(number), {.body = "<a>x</a>", .delay = 400ms});
            addresses.push_back(one.Url("/" + std::to_string(number)));
        }
        EXPECT_THAT(Outcomes(addresses, read_ahead, 1500ms), testing::Each("x")) << read_ahead;
    }
}

TEST_F(AHostReadAhead, ThatRefusesSeveralAndHasManyNamesLosesNoFeed) {
    for (const int read_ahead : {0, 64}) {
        test::HttpServer one(test::HttpServer::Connecting::kOneOthersRefused);
        std::vector<std::string> addresses;
        for (int name = 1; name <= 6; ++name) {
            one.Answer("/" + std::to_string(name),
                       {.body = "<a>x</a>", .framing = Reply::Framing::kClose, .delay = 50ms});
            addresses.push_back(one.Url("/" + std::to_string(name), name));
        }
        EXPECT_THAT(Outcomes(addresses, read_ahead, 10s), testing::Each("x")) << read_ahead;
    }
}

// The reader turns the loop while it is told of the head, and keeps what it was told.
TEST_F(AHostReadAhead, ThatBreaksOffBesideAnotherRequestBeginsAnewAlsoInsideTheEventOfTheHead) {
    server.Answer("/beside", {.stall = true});
    server.Answer("/a", {.headers = {{"Content-Type", "text/of-the-answer-that-breaks-off"}},
                         .body = "<a>x</a>",
                         .cut_after = 3,
                         .breaks_off = true,
                         .pause_per_byte = 50ms});
    HttpSession session({.cache = false});
    session.Expect({server.Url("/beside", 2)});
    ASSERT_TRUE(WaitUntil([&] { return server.Requests("/beside") == 1; }));
    const auto source = session.Open(server.Url("/a"));
    std::vector<std::string> heads;
    std::string body;
    std::optional<std::string> end;
    const auto head = [&](const DocumentHead& told) {
        server.Answer("/a", {.body = "<a>y</a>"});
        EXPECT_TRUE(WaitUntil([&] { return server.Requests("/a") == 2; }));
        PumpFor(50ms);
        heads.push_back(told.content_type);
        body.clear();
    };
    source->Start({.head = head,
                   .body = [&](std::string_view piece) { body += piece; },
                   .end = [&](const std::string& error) { end = error; }});
    ASSERT_TRUE(WaitUntil([&] { return end.has_value(); }));
    EXPECT_THAT(heads, testing::ElementsAre("text/of-the-answer-that-breaks-off", ""));
    EXPECT_EQ(body, "<a>y</a>");
    EXPECT_EQ(*end, "");
    source->Abort();
}

// It would have answered, had it been asked when the first was over.
TEST_F(AHostReadAhead, ThatIsTooBusyBesideAnotherRequestIsAskedOnceMoreInItsTurn) {
    server.Answer("/first", {.body = "<a>1</a>", .delay = 300ms});
    server.Answer("/second", {.status = 503, .headers = {{"Retry-After", "100"}}});
    HttpSession session({});
    session.Expect({server.Url("/first"), server.Url("/second")});
    ASSERT_TRUE(WaitUntil([&] { return server.Requests("/second") == 1; }));
    PumpFor(50ms);
    EXPECT_EQ(server.Requests("/second"), 1U);
    server.Answer("/second", {.body = "<a>2</a>"});
    EXPECT_EQ(Load(session, server.Url("/first")), "1");
    EXPECT_EQ(Load(session, server.Url("/second")), "2");
    EXPECT_EQ(server.Requests("/second"), 2U);
}

TEST_F(AHostReadAhead, ThatIsBusyWithLaterFeedsMakesRoomForARedirectThatIsAwaited) {
    auto redirect = test::Redirect(server.Url("/quick"));
    redirect.delay = 100ms;
    server.Answer("/first", redirect);
    server.Answer("/quick", {.body = "<a>x</a>"});
    server.Answer("/trickle", {.body = "<a>" + std::string(10'000, ' ') + "</a>", .pause_per_byte = 5ms});
    std::vector<std::string> addresses(7, server.Url("/trickle"));
    addresses.front() = server.Url("/first", 2);
    HttpSession session({});
    session.Expect(addresses);
    EXPECT_LT(test::TimeOf([&] { EXPECT_EQ(Load(session, addresses.front()), "x"); }), 5s);
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
