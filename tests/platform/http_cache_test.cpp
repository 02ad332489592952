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
    void ReplaceInFile(const std::string& what, const std::string& by) {
        ASSERT_THAT(Kept(), SizeIs(1));
        auto bytes = test::ReadFile(Kept().front());
        const auto at = bytes.find(what);
        ASSERT_NE(at, std::string::npos);
        test::WriteFile(Kept().front(), bytes.replace(at, what.size(), by));
    }
};

TEST_F(CachedAnswers, TakeTheWayOfFreshOnesWhenNothingHasChanged) {
    const std::string text(200'000, '\xE4');
    server.Answer("/a", Answer(text));
    const auto fresh = Load("/a");
    EXPECT_FALSE(WasAskedWithCondition());
    server.Answer("/a", kNotModified);
    for (int run = 0; run < 2; ++run) {
        EXPECT_EQ(Load("/a"), fresh) << "in the charset of the answer that was kept";
        EXPECT_THAT(server.LastRequest("/a"), AllOf(HasSubstr("If-None-Match: " + kETag + "\r\n"),
                                                    HasSubstr("If-Modified-Since: sometime last week")));
    }
    ASSERT_THAT(Kept(), SizeIs(1));
    struct stat about {};
    ASSERT_EQ(stat(Kept().front().c_str(), &about), 0);
    EXPECT_LT(about.st_size, 1000);
    EXPECT_EQ(about.st_mode & 0077U, 0U) << "addresses may hold a password";

    HttpSession without({.cache = false});
    EXPECT_THAT(Load(without, server.Url("/a")), StartsWith("!")) << "a 304 that nobody asked for";
    EXPECT_FALSE(WasAskedWithCondition());
}

TEST_F(CachedAnswers, AreReplacedWithTheirValidatorsAsOneSet) {
    server.Answer("/a", Answer("old"));
    Load("/a");
    server.Answer("/a", {.status = 304, .headers = {{"ETag", "\"2\""}}});
    EXPECT_EQ(Load("/a"), "old");
    server.Answer("/a", kNotModified);
    EXPECT_EQ(Load("/a"), "old");
    EXPECT_THAT(server.LastRequest("/a"),
                AllOf(HasSubstr("If-None-Match: \"2\""), Not(HasSubstr("If-Modified-Since"))));
    server.Answer("/a", {.headers = {{"Last-Modified", "x"}}, .body = "<a>new</a>"});
    EXPECT_EQ(Load("/a"), "new");
    server.Answer("/a", kNotModified);
    EXPECT_EQ(Load("/a"), "new");
    EXPECT_THAT(server.LastRequest("/a"),
                AllOf(HasSubstr("If-Modified-Since: x"), Not(HasSubstr("If-None-Match"))));
    server.Answer("/a", {.body = "<a>without</a>"});
    EXPECT_EQ(Load("/a"), "without");
    EXPECT_THAT(Kept(), IsEmpty());
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
    private_to_one.headers.emplace_back("Cache-Control", "private, No-Store");
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
    for (int run = 0; run < 2; ++run) EXPECT_EQ(Load("/b"), "x");
    EXPECT_THAT(server.LastRequest("/b"), Not(HasSubstr("X-Injected")));
    std::filesystem::remove_all(folder / "pellago");
    for (const auto& item : cases) {
        server.Answer("/a", item.second);
        Load("/a");
        EXPECT_THAT(Kept(), IsEmpty()) << item.first;
        Load("/a");
        EXPECT_THAT(server.LastRequest("/a"), AllOf(Not(HasSubstr("If-")), Not(HasSubstr("X-Injected"))))
            << item.first;
    }
}

// The file may be spoilt before the request goes out, and while the server is thinking.
TEST_F(CachedAnswers, ThatAreDamagedOrGoneAreFetchedAnewInTheSameLoad) {
    const auto spoil_body = [&] {
        auto bytes = test::ReadFile(Kept().front());
        bytes[bytes.size() - 8] ^= 1;
        test::WriteFile(Kept().front(), bytes);
    };
    const auto cut_body = [&] {
        const auto bytes = test::ReadFile(Kept().front());
        test::WriteFile(Kept().front(), bytes.substr(0, bytes.size() - 8));
    };
    const auto spoil_head = [&] { ReplaceInFile("ETag: ", "Egat: "); };
    const auto other_address = [&] { ReplaceInFile("Address: http", "Address: ftp"); };
    const auto remove = [&] { std::filesystem::remove_all(folder / "pellago"); };
    const std::pair<const char*, std::function<void()>> cases[] = {{"body", spoil_body},
                                                                   {"end of the body", cut_body},
                                                                   {"head", spoil_head},
                                                                   {"another address's", other_address},
                                                                   {"removed", remove}};
    for (const auto& item : cases) {
        for (const bool meanwhile : {false, true}) {
            SCOPED_TRACE(item.first + std::string(meanwhile ? ", meanwhile" : ""));
            server.Answer("/a", Answer("right"));
            ASSERT_EQ(Load("/a"), "right");
            HttpSession session({});
            if (!meanwhile) item.second();
            auto slow = kNotModified;
            slow.delay = 50ms;
            server.Answer("/a", slow);
            XmlDocument document(&session);
            document.Load(server.Url("/a"));
            const auto before = server.Requests("/a");
            ASSERT_TRUE(test::WaitUntil(
                [&] { return server.Requests("/a") > before || WasAskedWithCondition() || !meanwhile; }));
            if (meanwhile) item.second();
            server.Answer("/a", Answer("right"));
            ASSERT_TRUE(test::WaitUntil([&] { return document.ReadyState() == 4; }));
            if (document.ParseError().error_code == 0) {
                EXPECT_EQ(document.DocumentElement()->Text(), "right");
            } else {
                EXPECT_FALSE(meanwhile) << document.ParseError().reason;
            }
        }
    }
}

TEST_F(CachedAnswers, AreDoneWithoutWhereTheFolderCannotBeUsed) {
    test::WriteFile(folder / "pellago", "a file");
    server.Answer("/a", Answer("x"));
    for (int run = 0; run < 2; ++run) EXPECT_EQ(Load("/a"), "x");
    EXPECT_FALSE(WasAskedWithCondition());
}

TEST_F(CachedAnswers, AreAskedForWithoutConditionOnEveryEighthDayAndAfterTheClockWasWrong) {
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    const auto day = std::int64_t{24} * 60 * 60;
    for (const auto& [days, with_condition] : {std::pair{7, true}, {8, false}, {-1, false}}) {
        server.Answer("/a", Answer("x"));
        Load("/a");
        auto bytes = test::ReadFile(Kept().front());
        const auto at = bytes.find("Fetched: ");
        bytes.replace(at, bytes.find('\n', at) - at, "Fetched: " + std::to_string(now - days * day));
        test::WriteFile(Kept().front(), bytes);
        EXPECT_EQ(Load("/a"), "x");
        EXPECT_EQ(WasAskedWithCondition(), with_condition) << days;
    }
}

// The first hop may have validators of its own; what was kept is the last one's.
TEST_F(CachedAnswers, AreConfirmedByTheAddressThatAnsweredAlone) {
    server.Answer("/first", test::Redirect("/a"));
    server.Answer("/a", Answer("x"));
    EXPECT_EQ(Load("/first"), "x");
    server.Answer("/a", kNotModified);
    EXPECT_EQ(Load("/first"), "x");
    EXPECT_FALSE(WasAskedWithCondition("/first"));
    EXPECT_TRUE(WasAskedWithCondition("/a"));
    server.Answer("/first", test::Redirect("/b"));
    server.Answer("/b", Answer("another"));
    EXPECT_EQ(Load("/first"), "another");
    EXPECT_FALSE(WasAskedWithCondition("/b"));
}

TEST_F(CachedAnswers, GoOldestFirstWhenThereIsNoRoom) {
    const std::filesystem::path cached = folder / "cache";
    HttpCache cache(cached, 10'000);
    const CachedAnswer answer{{"\"e\"", ""}, "http://a/", "", 1};
    const auto keep = [&](const std::string& address, int age) {
        cache.Keep(address, answer, std::string(1000, 'x'));
        std::error_code failed;
        for (const auto& entry : std::filesystem::directory_iterator(cached))
            if (test::ReadFile(entry.path()).find(address + "\n") != std::string::npos)
                last_write_time(entry.path(), std::filesystem::file_time_type::clock::now() - age * 1h,
                                failed);
    };
    for (int number = 1; number <= 8; ++number) keep("http://" + std::to_string(number), 20 - number);
    cache.Confirm("http://1", answer, {});
    keep("http://9", 1);
    keep("http://10", 0);
    EXPECT_TRUE(cache.Find("http://1")) << "asked for not long ago";
    EXPECT_FALSE(cache.Find("http://2"));
    EXPECT_TRUE(cache.Find("http://10"));
    cache.Keep("http://10", answer, std::string(5000, 'x'));
    EXPECT_FALSE(cache.Find("http://10")) << "too large: neither the new one is kept nor the old one";
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
        EXPECT_THAT(Load(item.path), HasSubstr("returned error"));
        const auto second = Load(item.path);
        EXPECT_EQ(server.Requests(item.path), item.again ? 2U : 1U) << item.path;
        EXPECT_EQ(second.find("not to be asked again before 2") == std::string::npos, item.again) << second;
    }
    for (const auto& file : Kept()) test::WriteFile(file, std::to_string(std::time(nullptr) - 1));
    server.Answer("/seconds", Answer("x"));
    EXPECT_EQ(Load("/seconds"), "x");
}

}  // namespace
}  // namespace pellago
