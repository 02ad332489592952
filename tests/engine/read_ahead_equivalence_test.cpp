#include "address_cases.h"
#include "platform/loop/thread_timer.h"
#include "support/a_run.h"
#include "support/wait_until.h"

namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using Lines = std::vector<std::string>;
using Connecting = HttpServer::Connecting;

/// All that the owner of a run sees of it.
struct Outcome {
    Lines events, news, channels, log, sessions;
};

/// Says where they part: the lists are too long to be read.
void ExpectSameLines(const char* what, const Lines& expected, const Lines& got) {
    const auto [left, right] = std::ranges::mismatch(expected, got);
    if (left == expected.end() && right == got.end()) return;
    ADD_FAILURE() << what << " part at " << left - expected.begin() << " of " << expected.size() << ":\n  "
                  << (left == expected.end() ? "(end)" : left->substr(0, 300)) << "\n  "
                  << (right == got.end() ? "(end)" : right->substr(0, 300));
}

void ExpectSame(const Outcome& expected, const Outcome& got) {
    ExpectSameLines("events", expected.events, got.events);
    ExpectSameLines("news", expected.news, got.news);
    ExpectSameLines("channels", expected.channels, got.channels);
    ExpectSameLines("log", expected.log, got.log);
    ExpectSameLines("sessions", expected.sessions, got.sessions);
}

struct Subscription {
    std::string address_sql;
    std::optional<bool> loads = std::nullopt;  ///< nothing where it depends on what came before
};

std::string Quoted(const std::string& text) { return '\'' + text + '\''; }

class TheSameRun : public ARun {
protected:
    static constexpr std::size_t kChannels = 200;

    TheSameRun() {
        for (const auto& address_case : AllAddressCases(server, nowhere)) {
            server.Answer("/" + address_case.name, address_case.reply);
            cases.push_back(address_case);
        }
        WriteFile(folder_ / "feed.xml", Feed(Item("of a file", "l/file")));
        const Reply feed{.body = Feed(Item("one at a time", "l/one"))};
        auto last = feed;
        last.framing = Reply::Framing::kClose;
        for (int path = 0; path < 8; ++path) {
            const auto name = "/" + std::to_string(path);
            for (auto* each : {&leaving_waiting, &refusing}) each->Answer(name, feed);
            for (auto* each : {&closing_leaving_waiting, &closing_refusing}) each->Answer(name, last);
        }
    }

    /// Every case on hosts by turns, in between what is special in the address or in the host.
    std::vector<Subscription> Subscriptions() const {
        std::vector<Subscription> all = {
            {"NULL", false},
            {"''", false},
            {"'  '", false},
            {"'ftp://127.0.0.1/plain'", false},
            {"'http://'", false},
            {"'http://127.0.0.1:99999/'", false},
            {Quoted("https" + server.Url("/plain").substr(4)), false},
            {Quoted(nowhere.Url("/plain")), false},
            {Quoted("  " + server.Url("/plain") + " "), true},
            {Quoted(server.Url("/etag") + "#part"), true},
            {Quoted("HTTP" + server.Url("/late").substr(4)), true},
            {Quoted(folder_ / "feed.xml"), true},
            {Quoted("file://" + folder_ / "feed.xml"), true},
            {Quoted(folder_ / "missing.xml"), false},
            {Quoted(folder_.Path()), false},
        };
        for (int path = 0; path < 8; ++path)
            for (const auto* each :
                 {&leaving_waiting, &refusing, &closing_leaving_waiting, &closing_refusing})
                all.push_back({Quoted(each->Url("/" + std::to_string(path))), true});
        for (int turn = 0; all.size() < kChannels; ++turn) {
            const auto& address_case = cases.at(static_cast<std::size_t>(turn) % cases.size());
            all.push_back({Quoted(server.Url("/" + address_case.name, 1 + turn % 11)), address_case.loads});
        }
        return all;
    }

    void SubscribeToAll() {
        NewDatabase();
        AddProvider(1, "'first'");
        AddProvider(2, "'empty'");
        AddProvider(3, "'inactive'", false);
        AddProvider(4, "NULL");
        AddProvider(5, "'last'");
        std::size_t id = 0;
        database->CnnRSS()->BeginWrites();
        // Steps that have no factor in common with the number of channels: neighbours are unlike.
        const auto all = Subscriptions();
        for (std::size_t at = 0; id < kChannels; at = (at + 37) % kChannels) {
            ++id;
            const auto provider = id <= 60 ? 1 : id <= 75 ? 3 : id <= 130 ? 4 : 5;
            database->CnnRSS()->Execute(
                "INSERT INTO Channels (ID, Channel, httpRSSFile, Provider, Active) VALUES (" +
                std::to_string(id) + ", " + (id % 50 == 7 ? "NULL" : "'c" + std::to_string(id) + "'") + ", " +
                all.at(at).address_sql + ", " + std::to_string(provider) + ", " + (id % 23 == 5 ? "0" : "1") +
                ")");
            loads[std::to_string(id)] = all.at(at).loads;
        }
        database->CnnRSS()->CommitWrites();
    }

    Outcome Seen() {
        return {
            std::exchange(events.lines, {}),
            Column("SELECT json_array(ID, pubDate, Title, Description, Link, Channel, guid, IsRead) AS Row "
                   "FROM News ORDER BY ID"),
            Column("SELECT json_array(ID, Channel, httpRSSFile, lastBuildDate, Link, Provider, Active, "
                   "Copyright, Description, imagelink, imagetitle, imageurl) AS Row FROM Channels "
                   "ORDER BY ID"),
            Column("SELECT json_array(Session, Channel, Result, Error, NewItems, UpdatedItems) AS Row "
                   "FROM DownloadLog ORDER BY id"),
            Column("SELECT ID FROM DownloadSessions WHERE EndTime NOT NULL ORDER BY ID")};
    }

    static void Set(const std::string& read_ahead, const std::string& cache) {
        gAppSettings->SaveSetting("Settings", "ReadAhead", Variant(read_ahead));
        gAppSettings->SaveSetting("Settings", "HttpCache", Variant(cache));
    }

    /// At some event, channels that come next get other addresses or go.
    void ChangeChannelsMeanwhile() {
        events.meanwhile = [this](const std::string& line) {
            if (line != "done c10 10") return;
            database->CnnRSS()->Execute("UPDATE Channels SET httpRSSFile = " +
                                        Quoted(server.Url("/atom", 5)) + " WHERE ID IN (13, 40)");
            database->CnnRSS()->Execute("DELETE FROM Channels WHERE ID = 16");
        };
    }

    /// A run, a run that also takes what is inactive, and one of a provider.
    std::vector<Outcome> ThreeRuns() {
        SubscribeToAll();
        ChangeChannelsMeanwhile();
        std::vector<Outcome> outcomes;
        Engine()->Update();
        outcomes.push_back(Seen());
        const auto second = Engine();
        second->OnlyActive(false);
        second->Update();
        outcomes.push_back(Seen());
        Engine()->UpdateOnlyOneProvider(4);
        outcomes.push_back(Seen());
        return outcomes;
    }

    /// What should load, did.
    void ExpectEachKindAsItIs() {
        for (const auto& [id, expected] : loads) {
            if (!expected || id == "13" || id == "16" || id == "40") continue;
            EXPECT_THAT(
                Column("SELECT DISTINCT Result FROM DownloadLog WHERE Result IN (3, 4) AND Channel = " + id),
                testing::ElementsAre(*expected ? "4" : "3"))
                << Column("SELECT httpRSSFile FROM Channels WHERE ID = " + id).at(0);
        }
    }

    std::vector<AddressCase> cases;
    std::map<std::string, std::optional<bool>> loads;
    HttpServer nowhere{Connecting::kNone};
    HttpServer leaving_waiting{Connecting::kOneOthersWait};
    HttpServer refusing{Connecting::kOneOthersRefused};
    HttpServer closing_leaving_waiting{Connecting::kOneOthersWait};
    HttpServer closing_refusing{Connecting::kOneOthersRefused};
};

TEST_F(TheSameRun, HasTheSameEventsAndRowsWithAndWithoutReadAheadAndCache) {
    Set("0", "0");
    const auto expected = ThreeRuns();
    ExpectEachKindAsItIs();
    ASSERT_GT(expected.back().news.size(), 500U);
    ASSERT_EQ(expected.back().sessions.size(), 3U);
    for (const auto& [read_ahead, cache] :
         {std::pair("64", "0"), std::pair("0", "1"), std::pair("64", "1")}) {
        const EnvVar cache_home("XDG_CACHE_HOME", folder_ / "cache" + read_ahead + cache);
        Set(read_ahead, cache);
        const auto got = ThreeRuns();
        for (std::size_t run = 0; run < expected.size(); ++run) {
            SCOPED_TRACE(std::string("read-ahead ") + read_ahead + ", cache " + cache + ", run " +
                         std::to_string(run + 1));
            ExpectSame(expected[run], got[run]);
        }
    }
}

// Behind the channel at which the owner cancels are servers that would never have answered.
TEST_F(TheSameRun, CancelledLeavesNothingInFlight) {
    server.Answer("/stalled", {.stall = true});
    std::vector<Outcome> outcomes;
    for (const char* read_ahead : {"0", "64"}) {
        for (const std::string at : {"channel c30 ", "done c31 ", "status Storing: etag 1"}) {
            SCOPED_TRACE(at + ", read-ahead " + read_ahead);
            Set(read_ahead, "1");
            SubscribeToAll();
            database->CnnRSS()->Execute(
                "UPDATE Channels SET httpRSSFile = " + Quoted(server.Url("/stalled", 99)) +
                " WHERE Provider = 4 AND ID % 3 > 0");
            const auto engine = Engine();
            events.meanwhile = [&](const std::string& line) {
                if (line.starts_with(at)) engine->Cancel(true);
            };
            engine->Update();
            EXPECT_TRUE(WaitUntil([this] { return server.Counts().in_progress == 0; }, 3s));
            outcomes.push_back(Seen());
            EXPECT_EQ(outcomes.back().events.back(), "status Download cancelled");
        }
    }
    for (std::size_t scene = 0; scene < 3; ++scene) {
        SCOPED_TRACE(scene);
        ExpectSame(outcomes[scene], outcomes[scene + 3]);
    }
}

// While a silent server is waited for, others have been asked, and some of them are silent too.
TEST_F(TheSameRun, CancelledWhileAServerIsSilentEndsThemAll) {
    server.Answer("/stalled", {.stall = true});
    for (const char* read_ahead : {"0", "64"}) {
        SCOPED_TRACE(read_ahead);
        Set(read_ahead, "1");
        NewDatabase();
        events.lines.clear();
        AddProvider(1, "'p1'");
        AddChannel(1, 1, server.Url("/plain"));
        for (int id = 2; id < 30; ++id) AddChannel(id, 1, server.Url("/stalled", id));
        const auto engine = Engine();
        const auto timer = SetTimer(300, [&](std::uint32_t) { engine->Cancel(true); });
        EXPECT_LT(TimeOf([&] { engine->Update(); }), 5s);
        KillTimer(timer);
        EXPECT_THAT(Log(), testing::ElementsAre("1:4:0:0", "1:5:0:2", "2:3:1:0", "0:7:0:0"));
        EXPECT_TRUE(WaitUntil([this] { return server.Counts().in_progress == 0; }, 3s));
    }
}

}  // namespace
}  // namespace pellago::test
