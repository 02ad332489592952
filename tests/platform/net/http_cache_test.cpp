#include "http_cache.h"

#include <sys/stat.h>

#include <chrono>
#include <ctime>

#include "session_fixture.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::Reply;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

const std::string kETag = "W/\"\xC3\xA4 \\ b, c\"";
const std::string kDate = "sometime last week ";

Reply Answer(const std::string& text) {
    return {
        .headers = {{"ETag", kETag}, {"Last-Modified", kDate}, {"Content-Type", "text/xml; charset=latin1"}},
        .body = "<a>" + text + "</a>"};
}
const Reply kNotModified{.status = 304};

class CachedAnswers : public test::ASession {
protected:
    bool WasAskedWithCondition(const std::string& path = "/a") {
        return server.LastRequest(path).find("If-None-Match: ") != std::string::npos;
    }
};

TEST_F(CachedAnswers, TakeTheWayOfFreshOnesWhenNothingHasChanged) {
    const std::string text(200'000, '\xE4');
    server.Answer("/a", Answer(text));
    const auto fresh = LoadAnew("/a");
    EXPECT_FALSE(WasAskedWithCondition());
    const auto older = folder / "pellago/http-1.sqlite";
    test::WriteFile(older, "x");
    server.Answer("/a", kNotModified);
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(LoadAnew("/a"), fresh) << "in the charset of the answer that was kept";
        EXPECT_THAT(server.LastRequest("/a"), AllOf(HasSubstr("If-None-Match: " + kETag + "\r\n"),
                                                    HasSubstr("If-Modified-Since: sometime last week")));
    }
    EXPECT_LT(CLng(Kept("SELECT length(Body) FROM Answers")), 1000);
    struct stat about {};
    ASSERT_EQ(stat(File().c_str(), &about), 0);
    EXPECT_EQ(about.st_mode & 0077U, 0U) << "addresses may hold a password";
    EXPECT_FALSE(std::filesystem::exists(older)) << "a cache that nobody reads";

    HttpSession without({.cache = false});
    EXPECT_THAT(test::Load(without, server.Url("/a")), StartsWith("!")) << "a 304 that nobody asked for";
    EXPECT_FALSE(WasAskedWithCondition());
}

TEST_F(CachedAnswers, AreReplacedWithTheirValidatorsAsOneSet) {
    server.Answer("/a", Answer("old"));
    LoadAnew("/a");
    server.Answer("/a", {.status = 304, .headers = {{"ETag", "\"2\""}}});
    EXPECT_EQ(LoadAnew("/a"), "old");
    server.Answer("/a", kNotModified);
    EXPECT_EQ(LoadAnew("/a"), "old");
    EXPECT_THAT(server.LastRequest("/a"),
                AllOf(HasSubstr("If-None-Match: \"2\""), Not(HasSubstr("If-Modified-Since"))));
    server.Answer("/a", {.headers = {{"Last-Modified", "x"}}, .body = "<a>new</a>"});
    EXPECT_EQ(LoadAnew("/a"), "new");
    server.Answer("/a", kNotModified);
    EXPECT_EQ(LoadAnew("/a"), "new");
    EXPECT_THAT(server.LastRequest("/a"),
                AllOf(HasSubstr("If-Modified-Since: x"), Not(HasSubstr("If-None-Match"))));
    server.Answer("/a", {.body = "<a>without</a>"});
    EXPECT_EQ(LoadAnew("/a"), "without");
    EXPECT_EQ(KeptAnswers(), 0);
}

TEST_F(CachedAnswers, AreWholeAndUsableOrNotKept) {
    const auto with = [](const char* name, const std::string& value) {
        return Reply{.headers = {{name, value}}, .body = "<a>x</a>"};
    };
    auto cut = Answer("x");
    cut.cut_after = 4;
    auto cut_inside = Answer("x");
    cut_inside.body = "<a>x";
    auto cut_gzip = Answer("");
    cut_gzip.headers.emplace_back("Content-Encoding", "gzip");
    cut_gzip.body = test::Gzip("<a>" + std::string(1000, 'x') + "</a>").substr(0, 24);
    auto until_the_end = cut_inside;
    until_the_end.framing = Reply::Framing::kClose;
    auto private_to_one = Answer("x");
    private_to_one.headers.emplace_back("Cache-Control", "private");
    private_to_one.headers.emplace_back("Cache-Control", "max-age=1, No-Store");
    auto failed = Answer("x");
    failed.status = 500;
    const std::pair<const char*, Reply> cases[] = {
        {"cut", cut},
        {"cut inside the document", cut_inside},
        {"cut inside the coding", cut_gzip},
        {"cut where only the connection ends", until_the_end},
        {"not to be stored", private_to_one},
        {"failed", failed},
        {"10 KB", with("ETag", '"' + std::string(10'000, 'x') + '"')},
        {"control character", with("Last-Modified", "a\001")},
        {"nothing to ask with", with("X-ETag", "a")},
    };
    server.Answer("/b", with("ETag", "\"a\rX-Injected: 1\""));
    for (int run = 0; run < 2; ++run) EXPECT_EQ(LoadAnew("/b"), "x");
    EXPECT_THAT(server.LastRequest("/b"), Not(HasSubstr("X-Injected")));
    Kept("DELETE FROM Answers");
    for (const auto& item : cases) {
        server.Answer("/a", item.second);
        LoadAnew("/a");
        EXPECT_EQ(KeptAnswers(), 0) << item.first;
        LoadAnew("/a");
        EXPECT_THAT(server.LastRequest("/a"), AllOf(Not(HasSubstr("If-")), Not(HasSubstr("X-Injected"))))
            << item.first;
    }
}

// The file may be spoilt before the request goes out, and while the server is thinking.
TEST_F(CachedAnswers, ThatAreDamagedOrGoneAreFetchedAnewInTheSameLoad) {
    const auto set_body = [&](const std::string& value) { Kept("UPDATE Answers SET Body = " + value); };
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"a byte", [&] { set_body("CAST(substr(Body, 1, 20) || X'00' || substr(Body, 22) AS BLOB)"); }},
        {"end of the body", [&] { set_body("substr(Body, 1, length(Body) - 8)"); }},
        {"another type", [&] { set_body("NULL"); }},
        {"texts", [&] { Kept("UPDATE Answers SET Body = CAST(Body AS TEXT), Url = 1, ContentType = NULL"); }},
        {"rows", [&] { Kept("DELETE FROM Answers"); }},
        {"sizes", [&] { Kept("UPDATE Answers SET Size = 9223372036854775807, Body = NULL"); }},
        {"another's answer", [&] { Kept("UPDATE Answers SET ETag = 'y', Body = X'78'"); }},
        {"no database", [&] { test::WriteFile(File(), std::string(5000, 'x')); }},
        {"half of the file", [&] { std::filesystem::resize_file(File(), 6000); }},
        {"removed", [&] { std::filesystem::remove_all(folder / "pellago"); }},
    };
    for (const auto& item : cases) {
        for (const bool meanwhile : {false, true}) {
            SCOPED_TRACE(item.first + std::string(meanwhile ? ", meanwhile" : ""));
            server.Answer("/a", Answer("right"));
            for (int run = 0; run < 2; ++run) ASSERT_EQ(LoadAnew("/a"), "right");
            if (!meanwhile) item.second();
            // What is asked for with a condition gets 304, all else the body.
            server.Answer("/a", Answer("right"));
            auto slow = kNotModified;
            slow.delay = 50ms;
            HttpSession session({});
            XmlDocument document(test::By(session));
            const auto asked = server.Requests("/a");
            if (meanwhile) server.Answer("/a", slow);
            document.Load(server.Url("/a"));
            ASSERT_TRUE(test::WaitUntil([&] { return server.Requests("/a") > asked; }));
            server.Answer("/a", Answer("right"));
            if (meanwhile) item.second();
            ASSERT_TRUE(test::WaitUntil([&] { return test::IsComplete(document); }));
            ASSERT_EQ(document.ParseError().reason, "");
            EXPECT_EQ(document.DocumentElement()->Text(), "right");
        }
    }
}

TEST_F(CachedAnswers, AreStillKeptBesideSizesThatCannotBe) {
    server.Answer("/a", Answer("a"));
    server.Answer("/b", Answer("b"));
    LoadAnew("/a");
    Kept("UPDATE Answers SET Size = 9223372036854775807, Used = 0");
    for (int run = 0; run < 2; ++run) EXPECT_EQ(LoadAnew("/b"), "b");
    EXPECT_TRUE(WasAskedWithCondition("/b"));
}

TEST_F(CachedAnswers, AreDoneWithoutWhereTheFolderCannotBeUsed) {
    test::WriteFile(folder / "pellago", "a file");
    server.Answer("/a", Answer("x"));
    for (int run = 0; run < 2; ++run) EXPECT_EQ(LoadAnew("/a"), "x");
    EXPECT_FALSE(WasAskedWithCondition());

    // Another process holds the lock for longer than anybody should wait.
    std::filesystem::remove(folder / "pellago");
    LoadAnew("/a");
    Connection other;
    other.DataSource(File());
    other.BeginWrites();
    server.Answer("/b", Answer("x"));
    EXPECT_LT(test::TimeOf([&] { EXPECT_EQ(LoadAnew("/b"), "x"); }), 1s);
    other.RollbackWrites();
    EXPECT_EQ(KeptAnswers(), 1);
}

TEST_F(CachedAnswers, AreAskedForWithoutConditionOnEveryEighthDayAndAfterTheClockWasWrong) {
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    const auto day = std::int64_t{24} * 60 * 60;
    for (const auto& [days, with_condition] : {std::pair{7, true}, {8, false}, {-1, false}}) {
        server.Answer("/a", Answer("x"));
        LoadAnew("/a");
        Kept("UPDATE Answers SET Fetched = " + std::to_string(now - days * day));
        EXPECT_EQ(LoadAnew("/a"), "x");
        EXPECT_EQ(WasAskedWithCondition(), with_condition) << days;
    }
}

// The first hop may have validators of its own; what was kept is the last one's.
TEST_F(CachedAnswers, AreConfirmedByTheAddressThatAnsweredAlone) {
    server.Answer("/first", test::Redirect("/a"));
    server.Answer("/a", Answer("x"));
    EXPECT_EQ(LoadAnew("/first"), "x");
    server.Answer("/a", kNotModified);
    EXPECT_EQ(LoadAnew("/first"), "x");
    EXPECT_FALSE(WasAskedWithCondition("/first"));
    EXPECT_TRUE(WasAskedWithCondition("/a"));
    server.Answer("/first", test::Redirect("/b"));
    server.Answer("/b", Answer("another"));
    EXPECT_EQ(LoadAnew("/first"), "another");
    EXPECT_FALSE(WasAskedWithCondition("/b"));
}

TEST_F(CachedAnswers, GoOldestFirstWhenThereIsNoRoom) {
    HttpCache cache(folder / "pellago", true, 10'000);
    const CachedAnswer answer{{"\"e\"", ""}, "http://a/", "", 1};
    const auto keep = [&](int number, std::size_t size) {
        cache.Keep(std::to_string(number), answer, Bytes(size, 'x'));
    };
    for (int number = 1; number <= 100; ++number) keep(number, 100);
    Kept("UPDATE Answers SET Used = CAST(Address AS INTEGER)");
    cache.Confirm("1", answer, {});
    EXPECT_EQ(KeptAnswers(), 100);
    keep(101, 100);
    EXPECT_TRUE(cache.Find("1")) << "asked for not long ago";
    EXPECT_FALSE(cache.Find("2"));
    EXPECT_TRUE(cache.Find("20"));
    keep(102, 1000);
    EXPECT_LE(CLng(Kept("SELECT total(Size) FROM Answers")), 10'000);
    EXPECT_TRUE(cache.Find("101"));
    EXPECT_TRUE(cache.Find("102"));
    keep(102, 5000);
    EXPECT_FALSE(cache.Find("102")) << "too large: neither the new one is kept nor the old one";
}

// What one process confirms may be what another has replaced meanwhile.
TEST_F(CachedAnswers, AreNotGivenTheValidatorsOfOthers) {
    HttpCache one(folder / "pellago", true, 10'000);
    HttpCache other(folder / "pellago", true, 10'000);
    const CachedAnswer first{{"\"1\"", ""}, "http://a/", "", 1};
    const CachedAnswer second{{"\"2\"", ""}, "http://a/", "", 2};
    one.Keep("a", first, Bytes(1, 1));
    other.Keep("a", second, Bytes(1, 2));
    one.Confirm("a", first, {"W/\"1\"", ""});
    EXPECT_EQ(one.Find("a")->validators.etag, "\"2\"");
    EXPECT_EQ(one.PackedBody("a", first), std::nullopt);
    one.Confirm("a", second, {std::string(10'000, 'x'), ""});
    EXPECT_EQ(one.PackedBody("a", second), Bytes(1, 2));
}

TEST_F(CachedAnswers, AndServersThatAskForPeaceAreLeftAloneInTheNextRunToo) {
    const auto in = [](const std::string& value, int status = 503) {
        return Reply{.status = status, .headers = {{"Retry-After", value}}};
    };
    std::array<char, 64> date{};
    const auto later = std::time(nullptr) + 100;
    std::strftime(date.data(), date.size(), "%a, %d %b %Y %H:%M:%S GMT", std::gmtime(&later));
    const struct {
        const char* path;
        Reply reply;
        bool again;
    } cases[] = {
        {"/seconds", in("100"), false},         {"/date", in(date.data(), 429), false},
        {"/endless", in("99999999999"), false}, {"/now", in("0"), true},
        {"/nonsense", in("tomorrow"), true},    {"/past", in("Tue, 10 Jun 2003 04:00:00 GMT"), true},
        {"/other", in("100", 500), true},
    };
    for (const auto& item : cases) {
        server.Answer(item.path, item.reply);
        EXPECT_THAT(LoadAnew(item.path), HasSubstr("returned error"));
        const auto second = LoadAnew(item.path);
        EXPECT_EQ(server.Requests(item.path), item.again ? 2U : 1U) << item.path;
        EXPECT_EQ(second.find("not to be asked again before 2") == std::string::npos, item.again) << second;
    }
    Kept("UPDATE RetryTimes SET Time = Time - 200");
    server.Answer("/seconds", Answer("x"));
    EXPECT_EQ(LoadAnew("/seconds"), "x");
}

}  // namespace
}  // namespace pellago
