#include "platform/http_transfer.h"

#include <gmock/gmock.h>

#include <chrono>
#include <ctime>
#include <optional>
#include <vector>

#include "support/gzip.h"
#include "support/http_server.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::HttpServer;
using test::Reply;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Framing = Reply::Framing;

/// A transfer and all that it has told.
struct Fetch {
    explicit Fetch(const std::string& url)
        : transfer(url, {.head = [this](const HttpHead& told) { head = told; },
                         .body = [this](std::string_view piece) { body += piece; },
                         .end = [this](const std::string& told) { error = told; }}) {}

    /// The error text, empty for success.
    std::string Outcome() {
        if (!test::WaitUntil([this] { return error.has_value(); })) return "did not end";
        return *error;
    }

    std::optional<HttpHead> head;
    std::string body;
    std::optional<std::string> error;
    HttpTransfer transfer;
};

class AnHttpTransfer : public testing::Test {
protected:
    HttpServer server;
};

TEST_F(AnHttpTransfer, TellsHeadBodyAndEnd) {
    server.Answer(
        "/a", {.headers = {{"Content-Type", "text/xml; charset=x"}, {"Set-Cookie", "id=1"}}, .body = "<a/>"});
    Fetch fetch(server.Url("/a"));
    EXPECT_FALSE(fetch.head) << "told before anybody could know";
    EXPECT_EQ(fetch.Outcome(), "");
    EXPECT_EQ(fetch.body, "<a/>");
    ASSERT_TRUE(fetch.head);
    EXPECT_EQ(fetch.head->status, 200);
    EXPECT_EQ(fetch.head->content_type, "text/xml; charset=x");
    EXPECT_EQ(Fetch(server.Url("/a")).Outcome(), "");
    EXPECT_THAT(server.LastRequest("/a"), Not(HasSubstr("Cookie")));
    EXPECT_THAT(server.LastRequest("/a"), HasSubstr("User-Agent: Pellago/"));
    EXPECT_THAT(server.LastRequest("/a"), HasSubstr("gzip"));
}

TEST_F(AnHttpTransfer, TakesEveryFramingAndCoding) {
    const std::string text = "<a>" + std::string(100'000, 'x') + "</a>";
    const struct {
        const char* name;
        Reply reply;
    } cases[] = {
        {"length", {.body = text}},
        {"chunked", {.body = text, .framing = Framing::kChunked}},
        {"until the end of the connection", {.body = text, .framing = Framing::kClose}},
        {"gzip", {.headers = {{"Content-Encoding", "gzip"}}, .body = test::Gzip(text)}},
        {"slow", {.body = text.substr(0, 20), .delay = 20ms, .pause_per_byte = 1ms}},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.name);
        server.Answer("/a", item.reply);
        Fetch fetch(server.Url("/a"));
        EXPECT_EQ(fetch.Outcome(), "");
        EXPECT_TRUE(fetch.body == text.substr(0, fetch.body.size()) && fetch.body.size() >= 20);
    }
}

TEST_F(AnHttpTransfer, FailsWhenTheWholeBodyHasNotArrived) {
    const std::string text(1000, 'x');
    const auto gzip = test::Gzip(text);
    const struct {
        const char* name;
        Reply reply;
    } cases[] = {
        {"cut before its length", {.body = text, .cut_after = 400}},
        {"length too large",
         {.body = text, .framing = Framing::kLength, .declared_length = 2000, .cut_after = 1000}},
        {"chunk cut", {.body = text, .framing = Framing::kChunked, .cut_after = 400}},
        {"last chunk missing", {.body = text, .framing = Framing::kChunked, .cut_after = 1007}},
        {"gzip damaged",
         {.headers = {{"Content-Encoding", "gzip"}}, .body = gzip.substr(0, 12) + "xxxxxxxxxxxxxx"}},
        {"no gzip at all", {.headers = {{"Content-Encoding", "gzip"}}, .body = text}},
    };
    for (const auto& item : cases) {
        SCOPED_TRACE(item.name);
        server.Answer("/a", item.reply);
        EXPECT_THAT(Fetch(server.Url("/a")).Outcome(), Not(IsEmpty()));
    }
}

TEST_F(AnHttpTransfer, FailsOnStatusesThatAreNoAnswer) {
    for (const int status : {304, 400, 404, 500, 503}) {
        server.Answer("/a", {.status = status});
        Fetch fetch(server.Url("/a"));
        EXPECT_THAT(fetch.Outcome(), HasSubstr(std::to_string(status)));
        ASSERT_TRUE(fetch.head);
        EXPECT_EQ(fetch.head->status, status);
    }
}

TEST_F(AnHttpTransfer, FailsOnAddressesThatLeadNowhere) {
    std::string gone;
    {
        const HttpServer short_lived;
        gone = short_lived.Url("/a");
    }
    for (const std::string& url : {std::string("http://"), std::string("http://127.0.0.1:99999/"), gone,
                                   std::string("file:///etc/hostname"), std::string()})
        EXPECT_THAT(Fetch(url).Outcome(), Not(IsEmpty())) << url;
}

TEST_F(AnHttpTransfer, EncodesWhatAUrlCannotHold) {
    server.Answer("/a%20b%c3%a4", {.body = "x"});
    EXPECT_EQ(Fetch(server.Url("/a b\u00e4")).Outcome(), "");
}

TEST_F(AnHttpTransfer, FollowsFiveRedirectsAndNoMore) {
    for (int step = 1; step <= 6; ++step)
        server.Answer("/" + std::to_string(step), test::Redirect("/" + std::to_string(step - 1)));
    server.Answer("/0", {.body = "x"});
    Fetch five(server.Url("/5"));
    EXPECT_EQ(five.Outcome(), "");
    EXPECT_EQ(five.head->url, server.Url("/0"));
    EXPECT_THAT(Fetch(server.Url("/6")).Outcome(), HasSubstr("redirect"));
}

TEST_F(AnHttpTransfer, FollowsNoRedirectToAnotherProtocol) {
    for (const char* target : {"file:///etc/hostname", "ftp://127.0.0.1/", "gopher://127.0.0.1/"}) {
        server.Answer("/a", test::Redirect(target));
        Fetch fetch(server.Url("/a"));
        EXPECT_THAT(fetch.Outcome(), Not(IsEmpty())) << target;
        EXPECT_THAT(fetch.body, IsEmpty()) << target;
    }
}

// The limit counts what the content coding unpacks to: the gzip is 430 KB on the wire.
TEST_F(AnHttpTransfer, FailsAbove64MiBDecoded) {
    const std::string mebibyte(1U << 20U, ' ');
    server.Answer("/fits", {.body = mebibyte, .repeat = 64, .framing = Framing::kChunked});
    server.Answer("/too_large", {.body = mebibyte, .repeat = 65, .framing = Framing::kChunked});
    server.Answer("/bomb", {.headers = {{"Content-Encoding", "gzip"}},
                            .body = test::Gzip(std::string(HttpTransfer::kMaxBody + 1, ' '))});
    for (const auto& [path, error] : {std::pair{"/fits", ""},
                                      {"/too_large", "The document is larger than 64 MiB"},
                                      {"/bomb", "The document is larger than 64 MiB"}}) {
        std::size_t size = 0;
        std::optional<std::string> outcome;
        const HttpTransfer transfer(server.Url(path),
                                    {.head = [](const HttpHead&) {},
                                     .body = [&](std::string_view piece) { size += piece.size(); },
                                     .end = [&](const std::string& told) { outcome = told; }});
        ASSERT_TRUE(test::WaitUntil([&] { return outcome.has_value(); })) << path;
        EXPECT_EQ(*outcome, error) << path;
        EXPECT_LE(size, HttpTransfer::kMaxBody) << path;
    }
}

TEST_F(AnHttpTransfer, SharesOneConnectionWithTheNextOfItsHost) {
    for (int count = 0; count < 20; ++count) {
        const auto path = "/" + std::to_string(count);
        server.Answer(path, {.body = "x"});
        EXPECT_EQ(Fetch(server.Url(path)).Outcome(), "");
    }
    EXPECT_EQ(server.Connections(), 1U);
}

TEST_F(AnHttpTransfer, LetsManyRunAtOnce) {
    std::vector<std::unique_ptr<Fetch>> fetches;
    server.Answer("/a", {.body = std::string(200'000, 'x'), .delay = 100ms});
    const auto start = std::chrono::steady_clock::now();
    for (int count = 0; count < 40; ++count) fetches.push_back(std::make_unique<Fetch>(server.Url("/a")));
    for (const auto& fetch : fetches) {
        EXPECT_EQ(fetch->Outcome(), "");
        EXPECT_EQ(fetch->body.size(), 200'000U);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
}

TEST_F(AnHttpTransfer, SleepsWhileTheServerIsSilent) {
    server.Answer("/a", {.stall = true});
    const Fetch fetch(server.Url("/a"));
    ASSERT_TRUE(test::WaitUntil([&] { return server.Requests("/a") == 1; }));
    const auto processor_time = std::clock();
    test::PumpFor(300ms);
    EXPECT_LT(static_cast<double>(std::clock() - processor_time) / CLOCKS_PER_SEC, 0.05);
}

TEST_F(AnHttpTransfer, CanBeAbortedAndDestroyedInsideEachOfItsEvents) {
    server.Answer("/a", {.body = std::string(1'000'000, 'x')});
    for (const std::string abort_in : {"head", "body", "end"}) {
        for (const bool destroy : {false, true}) {
            SCOPED_TRACE(abort_in + (destroy ? ", destroyed" : ", aborted"));
            std::unique_ptr<HttpTransfer> transfer;
            int events_after = -1;
            const auto event = [&](const std::string& name) {
                if (events_after >= 0) ++events_after;
                if (name != abort_in || events_after >= 0) return;
                events_after = 0;
                destroy ? transfer.reset() : transfer->Abort();
                DoEvents();
            };
            transfer = std::make_unique<HttpTransfer>(
                server.Url("/a"), HttpEvents{.head = [&](const HttpHead&) { event("head"); },
                                             .body = [&](std::string_view) { event("body"); },
                                             .end = [&](const std::string&) { event("end"); }});
            EXPECT_TRUE(test::WaitUntil([&] { return events_after >= 0; }));
            test::PumpFor(10ms);
            EXPECT_EQ(events_after, 0);
        }
    }
}

// A whole transfer, and the abort of the outer one, inside an event of another.
TEST_F(AnHttpTransfer, GoesOnInALoopInsideAnothersEvent) {
    server.Answer("/a", {.body = std::string(3'000'000, 'x')});
    int depth = 0;
    int told_inside = 0;
    std::unique_ptr<HttpTransfer> outer;
    bool done = false;
    outer = std::make_unique<HttpTransfer>(
        server.Url("/a"), HttpEvents{.head = [](const HttpHead&) {},
                                     .body =
                                         [&](std::string_view) {
                                             if (++depth > 1) ++told_inside;
                                             Fetch inner(server.Url("/a"));
                                             EXPECT_EQ(inner.Outcome(), "");
                                             outer->Abort();
                                             EXPECT_EQ(Fetch(server.Url("/a")).Outcome(), "");
                                             done = true;
                                             --depth;
                                         },
                                     .end = [](const std::string&) { ADD_FAILURE(); }});
    EXPECT_TRUE(test::WaitUntil([&] { return done; }));
    test::PumpFor(10ms);
    EXPECT_EQ(told_inside, 0) << "an event of the outer transfer came inside another of its own";
}

}  // namespace
}  // namespace pellago
