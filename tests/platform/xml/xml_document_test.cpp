#include "platform/xml/xml_document.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>

#include "platform/values/run_time_error.h"
#include "support/documents.h"
#include "support/http_server.h"
#include "support/support.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using test::HttpServer;
using test::PumpFor;
using test::TempDir;
using test::WaitUntil;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class AnXmlDocument : public testing::Test {
protected:
    AnXmlDocument() {
        server.Answer("/a", {.body = "<a>x</a>"});
        test::WriteFile(folder / "a.xml", "<a>x</a>");
    }

    /// The reason of the error, empty without one.
    std::string OutcomeOf(const std::string& address) {
        XmlDocument document(test::By(session));
        test::Load(document, address);
        const auto& error = document.ParseError();
        EXPECT_EQ(error.error_code == 0, document.DocumentElement().has_value());
        EXPECT_EQ(error.error_code == 0, error.reason.empty());
        return error.reason;
    }

    TempDir folder;
    HttpServer server;
    HttpSession session{{.cache = false}};
};

TEST_F(AnXmlDocument, LetsAWaitSeeTheStatesBeforeItIsComplete) {
    for (const auto& address : {server.Url("/a"), folder / "a.xml"}) {
        using enum ReadyState;
        XmlDocument document(test::By(session));
        EXPECT_EQ(document.ReadyState(), kUninitialised);
        document.Load(address);
        EXPECT_EQ(document.ReadyState(), kLoading);
        EXPECT_THROW(document.Load(address), RunTimeError);
        std::vector<ReadyState> states{kLoading};
        EXPECT_TRUE(WaitUntil([&] {
            if (document.ReadyState() != states.back()) states.push_back(document.ReadyState());
            return test::IsComplete(document);
        }));
        EXPECT_THAT(states, AnyOf(ElementsAre(kLoading, kLoaded, kParsing, kComplete),
                                  ElementsAre(kLoading, kLoaded, kComplete),
                                  ElementsAre(kLoading, kParsing, kComplete)))
            << address;
        ASSERT_TRUE(document.DocumentElement());
        EXPECT_EQ(document.DocumentElement()->Text(), "x");
    }
}

TEST_F(AnXmlDocument, FailsOnAddressesThatHoldNoDocument) {
    const auto fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    test::WriteFile(folder / "empty", "");
    const auto gzip = test::Gzip("<a>" + std::string(40'000, 'x') + "</a>");
    server.Answer("/cut",
                  {.headers = {{"Content-Encoding", "gzip"}}, .body = gzip.substr(0, gzip.size() - 20)});
    server.Answer("/open", {.body = "<a></a>", .framing = test::Reply::Framing::kClose, .cut_after = 6});
    for (const auto& address :
         {""s, "ftp://127.0.0.1/a"s, "javascript:1"s, folder / "missing", folder / "empty",
          folder.Path().string(), fifo, "/dev/zero"s, "file://elsewhere" + fifo, "file:///a%00b"s,
          "file:///a%zz"s, "file:"s, server.Url("/missing"), server.Url("/cut"), server.Url("/open")})
        EXPECT_THAT(OutcomeOf(address), Not(IsEmpty())) << address;
}

TEST_F(AnXmlDocument, StopsTheTransferOfWhatIsNoXml) {
    server.Answer("/long", {.body = "<html><p><br></html>" + std::string(50'000'000, ' ')});
    EXPECT_THAT(OutcomeOf(server.Url("/long")), HasSubstr("mismatch"));
    EXPECT_TRUE(WaitUntil([&] { return server.OpenConnections() == 0; }));
}

TEST_F(AnXmlDocument, IsCompleteAtOnceWhenAbortedInAnyState) {
    for (const auto& address : {server.Url("/a"), folder / "a.xml"}) {
        for (const auto state : {ReadyState::kLoading, ReadyState::kLoaded}) {
            SCOPED_TRACE(address + " from state " + std::to_string(static_cast<int>(state)));
            XmlDocument document(test::By(session));
            document.Load(address);
            ASSERT_TRUE(WaitUntil([&] { return document.ReadyState() >= state; }));
            ASSERT_FALSE(test::IsComplete(document));
            document.Abort();
            EXPECT_TRUE(test::IsComplete(document));
            EXPECT_NE(document.ParseError().error_code, 0);
            PumpFor(10ms);
            EXPECT_FALSE(document.DocumentElement());
        }
    }
}

// The owner is inside its wait when an event ends the load.
TEST_F(AnXmlDocument, CanBeAbortedAndDestroyedFromANestedEvent) {
    server.Answer("/stall", {.stall = true});
    server.Answer("/slow", {.body = "<a>" + std::string(10'000, ' ') + "</a>", .pause_per_byte = 1ms});
    for (const auto* path : {"/stall", "/slow"}) {
        XmlDocument aborted(test::By(session));
        auto destroyed = std::make_unique<XmlDocument>(test::By(session));
        aborted.Load(server.Url(path));
        destroyed->Load(server.Url(path));
        bool nested = false;
        const auto start = std::chrono::steady_clock::now();
        const auto timer = SetTimer(50, [&](std::uint32_t) {
            CallLater([&] {
                aborted.Abort();
                destroyed.reset();
                nested = true;
            });
            EXPECT_TRUE(WaitUntil([&] { return nested; }));
        });
        EXPECT_TRUE(WaitUntil([&] { return test::IsComplete(aborted); }));
        KillTimer(timer);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
        PumpFor(10ms);
    }
}

TEST_F(AnXmlDocument, ReadsTheBytesOfALargeFileInManyEvents) {
    std::string text;
    for (int item = 0; item < 100'000; ++item) text += "<item><title>Title</title></item>\n";
    test::WriteFile(folder / "large.xml", "<a>" + text + "</a>");
    XmlDocument document;
    document.Load(folder / "large.xml");
    int passes = 0;
    EXPECT_TRUE(WaitUntil([&] { return ++passes, test::IsComplete(document); }));
    EXPECT_GT(passes, 30);
    EXPECT_EQ(document.DocumentElement()->SelectNodes("item/title").size(), 100'000U);
}

}  // namespace
}  // namespace pellago
