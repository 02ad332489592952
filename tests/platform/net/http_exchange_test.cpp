#include <gmock/gmock.h>

#include <chrono>
#include <ctime>
#include <optional>

#include "platform/net/http_session.h"
#include "support/documents.h"
#include "support/http_server.h"
#include "support/support.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using test::HttpServer;
using test::Reply;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Framing = Reply::Framing;

/// A transfer and all that it has told.
struct Fetch {
    explicit Fetch(const std::string& url) : transfer(session.Open(url)) {
        transfer->Start({.head = [this](const DocumentHead& told) { head = told; },
                         .body = [this](std::string_view piece) { body += piece; },
                         .end = [this](const std::string& told) { error = told; }});
    }

    /// The error text, empty for success.
    std::string Outcome() {
        if (!test::WaitUntil([this] { return error.has_value(); })) return "did not end";
        return *error;
    }

    std::optional<DocumentHead> head;
    std::string body;
    std::optional<std::string> error;
    HttpSession session{{.read_ahead = 0, .cache = false}};
    std::shared_ptr<DocumentSource> transfer;
};

class AnHttpExchange : public testing::Test {
protected:
    HttpServer server;
};

TEST_F(AnHttpExchange, TellsHeadBodyAndEndOfAnEncodedAddressAndKeepsNoCookie) {
    server.Answer(
        "/a%20b%c3%a4",
        {.headers = {{"Content-Type", "text/xml; charset=x"}, {"Set-Cookie", "id=1"}}, .body = "<a/>"});
    for (int count = 0; count < 2; ++count) {
        Fetch fetch(server.Url("/a b\u00e4"));
        EXPECT_FALSE(fetch.head) << "told before anybody could know";
        EXPECT_EQ(fetch.Outcome(), "");
        EXPECT_EQ(fetch.body, "<a/>");
        ASSERT_TRUE(fetch.head);
        EXPECT_EQ(fetch.head->content_type, "text/xml; charset=x");
    }
    EXPECT_THAT(server.LastRequest("/a%20b%c3%a4"),
                AllOf(HasSubstr("User-Agent: Pellago/"), HasSubstr("gzip"), Not(HasSubstr("Cookie"))));
    EXPECT_EQ(server.Connections(), 1U) << "the second shares the connection of the first";
}

TEST_F(AnHttpExchange, TakesEveryFramingAndCodingAndOnlyWholeBodiesOfSuccesses) {
    const std::string text = "<a>" + std::string(100'000, 'x') + "</a>";
    const auto packed = [](const std::string& bytes) {
        return Reply{.headers = {{"Content-Encoding", "gzip"}}, .body = bytes};
    };
    const auto gzip = test::Gzip(text);
    const struct {
        const char* name;
        std::string text;  ///< empty where the transfer must fail
        Reply reply;
    } cases[] = {
        {"length", text, {.body = text}},
        {"chunked", text, {.body = text, .framing = Framing::kChunked}},
        {"until the end of the connection", text, {.body = text, .framing = Framing::kClose}},
        {"gzip", text, packed(gzip)},
        {"slow", "<a/>", {.body = "<a/>", .delay = 20ms, .pause_per_byte = 1ms}},
        {"cut before its length", "", {.body = text, .cut_after = 400}},
        {"chunk cut", "", {.body = text, .framing = Framing::kChunked, .cut_after = 400}},
        {"last chunk missing",
         "",
         {.body = text, .framing = Framing::kChunked, .cut_after = text.size() + 9}},
        {"gzip damaged", "", packed(gzip.substr(0, 12) + "xxxxxxxxxxxxxx")},
        {"no gzip at all", "", packed(text)},
        {"not changed", "", {.status = 304}},
        {"not found", "", {.status = 404, .body = text}},
        {"not now", "", {.status = 503, .body = text}},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.name);
        server.Answer("/a", item.reply);
        Fetch fetch(server.Url("/a"));
        EXPECT_EQ(fetch.Outcome() == "", !item.text.empty());
        EXPECT_TRUE(item.text.empty() || fetch.body == item.text);
    }
}

TEST_F(AnHttpExchange, FailsOnAddressesThatLeadNowhereAlsoByRedirect) {
    const auto gone = HttpServer().Url("/a");
    for (const std::string& url : {""s, "http://"s, "http://127.0.0.1:99999/"s, gone, "file:///etc/hostname"s,
                                   "ftp://127.0.0.1/"s, "gopher://127.0.0.1/"s}) {
        EXPECT_THAT(Fetch(url).Outcome(), Not(IsEmpty())) << url;
        server.Answer("/a", test::Redirect(url));
        Fetch redirected(server.Url("/a"));
        EXPECT_THAT(redirected.Outcome(), Not(IsEmpty())) << url;
        EXPECT_THAT(redirected.body, IsEmpty()) << url;
    }
}

TEST_F(AnHttpExchange, FollowsFiveRedirectsAndNoMore) {
    for (int step = 1; step <= 6; ++step)
        server.Answer("/" + std::to_string(step), test::Redirect("/" + std::to_string(step - 1)));
    server.Answer("/0", {.body = "x"});
    Fetch five(server.Url("/5"));
    EXPECT_EQ(five.Outcome(), "");
    EXPECT_EQ(five.head->address, server.Url("/0"));
    EXPECT_THAT(Fetch(server.Url("/6")).Outcome(), HasSubstr("redirect"));
}

// The limit counts what the content coding unpacks to: the gzip is 65 KB on the wire.
TEST_F(AnHttpExchange, FailsAbove64MiBDecoded) {
    const std::string fitting(kMaxDocument, ' ');
    const std::string error = "The document is larger than 64 MiB";
    const std::pair<Reply, std::string> cases[] = {
        {{.body = fitting, .framing = Framing::kChunked}, ""},
        {{.body = fitting + " ", .framing = Framing::kChunked}, error},
        {{.headers = {{"Content-Encoding", "gzip"}}, .body = test::Gzip(fitting + " ")}, error}};
    for (const auto& [reply, outcome] : cases) {
        server.Answer("/a", reply);
        Fetch fetch(server.Url("/a"));
        EXPECT_EQ(fetch.Outcome(), outcome) << reply.body.size();
        EXPECT_LE(fetch.body.size(), kMaxDocument) << reply.body.size();
    }
}

TEST_F(AnHttpExchange, SleepsWhileTheServerIsSilent) {
    server.Answer("/a", {.stall = true});
    const Fetch fetch(server.Url("/a"));
    ASSERT_TRUE(test::WaitUntil([&] { return server.Requests("/a") == 1; }));
    const auto processor_time = std::clock();
    test::PumpFor(300ms);
    EXPECT_LT(static_cast<double>(std::clock() - processor_time) / CLOCKS_PER_SEC, 0.05);
}

TEST_F(AnHttpExchange, CanBeAbortedAndDestroyedInsideEachOfItsEvents) {
    server.Answer("/a", {.body = std::string(1'000'000, 'x')});
    for (const std::string abort_in : {"head", "body", "end"}) {
        for (const bool destroy : {false, true}) {
            SCOPED_TRACE(abort_in + (destroy ? ", destroyed" : ", aborted"));
            HttpSession session({.cache = false});
            std::shared_ptr<DocumentSource> transfer;
            int events_after = -1;
            const auto event = [&](const std::string& name) {
                if (events_after >= 0) ++events_after;
                if (name != abort_in || events_after >= 0) return;
                events_after = 0;
                transfer->Abort();
                if (destroy) transfer.reset();
                DoEvents();
            };
            transfer = session.Open(server.Url("/a"));
            transfer->Start({.head = [&](const DocumentHead&) { event("head"); },
                             .body = [&](std::string_view) { event("body"); },
                             .end = [&](const std::string&) { event("end"); }});
            EXPECT_TRUE(test::WaitUntil([&] { return events_after >= 0; }));
            test::PumpFor(10ms);
            EXPECT_EQ(events_after, 0);
        }
    }
}

// A whole transfer, and the abort of the outer one, inside an event of another.
TEST_F(AnHttpExchange, GoesOnInALoopInsideAnothersEvent) {
    server.Answer("/a", {.body = std::string(3'000'000, 'x')});
    int depth = 0;
    int told_inside = 0;
    HttpSession session({.cache = false});
    const auto outer = session.Open(server.Url("/a"));
    bool done = false;
    const auto body = [&](std::string_view) {
        if (++depth > 1) ++told_inside;
        EXPECT_EQ(Fetch(server.Url("/a")).Outcome(), "");
        outer->Abort();
        EXPECT_EQ(Fetch(server.Url("/a")).Outcome(), "");
        done = true;
        --depth;
    };
    outer->Start(
        {.head = [](const DocumentHead&) {}, .body = body, .end = [](const std::string&) { ADD_FAILURE(); }});
    EXPECT_TRUE(test::WaitUntil([&] { return done; }));
    test::PumpFor(10ms);
    EXPECT_EQ(told_inside, 0) << "an event of the outer transfer came inside another of its own";
}

}  // namespace
}  // namespace pellago
