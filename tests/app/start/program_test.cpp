#include <gmock/gmock.h>

#include <array>
#include <thread>

#include "platform/values/text.h"
#include "platform/windows/named_mutex.h"
#include "support/program_fixture.h"

// The program as it is started, on a desktop without a screen, a bus and a tray.
namespace pellago::test {
namespace {

constexpr const char* kEnded = "SELECT ID FROM DownloadSessions WHERE EndTime NOT NULL";

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class AProgramAlone : public AProgram {
protected:
    std::string Printed() const { return ReadFile(folder_ / "out"); }
    std::string Complaints() const { return ReadFile(folder_ / "err"); }
    /// That have come up so far.
    int WindowsShown() const {
        const auto complaints = Complaints();
        int shown = 0;
        for (std::size_t at = 0; (at = complaints.find("propagateSizeHints", at)) != std::string::npos; ++at)
            ++shown;
        return shown;
    }

    EnvVar platform_{"QT_QPA_PLATFORM", "offscreen"};
    EnvVar bus_{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere"};
};

// The test is the instance that runs.
TEST_F(AProgramAlone, HandsOverWhatItIsAskedForToTheInstanceThatRuns) {
    using Messages = std::vector<std::pair<std::int32_t, std::int32_t>>;
    const Messages nothing;
    const Messages show{{WM_CMD_SHOW, 0}};
    const Messages update{{WM_CMD_UPDATE_ALL, 0}};
    const Messages show_and_update{show.front(), update.front()};
    const Messages close{{WM_CMD_CLOSE, 0}};
    const Messages provider{{WM_CMD_UPDATE_PROVIDER, 2}};
    const Messages channel{{WM_CMD_UPDATE_CHANNEL, 3}};
    struct Case {
        std::vector<std::string> arguments;
        const char* start_in_tray;
        Messages messages;
    };
    const NamedMutex mutex("CORVANE_MUTEX");
    Messages messages;
    const auto window = CreateWindowHandle([&](std::int32_t, std::int32_t uMsg, std::int32_t wParam, auto) {
        messages.emplace_back(uMsg, wParam);
        return 0;
    });
    Setting("hWnd", std::to_string(window));
    for (const auto& [arguments, start_in_tray, expected] :
         std::vector<Case>{{{}, "0", show},
                           {{}, "1", nothing},
                           {{"/background"}, "0", nothing},
                           {{"--background=false"}, "1", show},
                           {{"/update"}, "0", show_and_update},
                           {{"--update"}, "1", update},
                           {{"/provider=9", "--background", "/update", "/channel=9"}, "0", update},
                           {{"--provider=2"}, "0", provider},
                           {{"/channel=3"}, "0", channel},
                           {{"/provider=0", "/Channel = 3"}, "0", channel},
                           {{"/provider=abc"}, "0", nothing},
                           {{"/CLOSE"}, "0", close},
                           {{"--update", "--close"}, "0", close}}) {
        Setting("StartInTray", start_in_tray);
        messages.clear();
        EXPECT_EQ(StatusOfStart(arguments), 0);
        EXPECT_EQ(messages, expected) << testing::PrintToString(arguments) << start_in_tray;
    }
    EXPECT_EQ(Window(), window) << "which is for the instance that stays to store";
    DestroyWindowHandle(window);
}

TEST_F(AProgramAlone, RunsWhatLaterStartsAskForUntilOneClosesIt) {
    SubscribeToThree();
    auto first = Start();
    const auto window = Window();
    std::size_t entries = 0;
    const auto runs = [&](const std::string& argument, std::size_t channels) {
        entries += channels;
        EXPECT_EQ(StatusOfStart({argument}), 0);
        return WaitUntil([&] {
            return Column("SELECT ID FROM DownloadLog WHERE Result = 5 AND Channel > 0").size() == entries;
        });
    };
    EXPECT_TRUE(runs("/update", 3));
    EXPECT_TRUE(runs("--provider=2", 2));
    EXPECT_TRUE(runs("/channel=3", 1));
    EXPECT_EQ(StatusOfStart({"/CLOSE"}), 0);
    EXPECT_EQ(StatusOf(first), 0);
    EXPECT_THAT((std::vector{server.Requests("/1"), server.Requests("/2"), server.Requests("/3")}),
                ElementsAre(1, 2, 3));
    EXPECT_EQ(SendMessage(window, WM_CMD_CLOSE_IF_IDLE, 7, 0), 0) << "gone";
    EXPECT_EQ(StatusOfStart({"--close"}), 0) << "with nobody to close";
}

TEST_F(AProgramAlone, WhoseFirstWasKilledHasAFirstAgainAndNeverTwo) {
    auto first = Start();
    const auto stale = Window();
    first.Signal(SIGKILL);
    EXPECT_EQ(first.Wait(), -SIGKILL);

    std::array<Child, 8> starts{Start(), Start(), Start(), Start(), Start(), Start(), Start(), Start()};
    const auto running = [&] {
        return std::ranges::count_if(starts, [](auto& start) { return !start.HasEnded(); });
    };
    ASSERT_TRUE(WaitUntil([&] { return running() == 1; }));
    const auto window = Window(stale);
    PumpFor(100ms);
    EXPECT_EQ(running(), 1);
    EXPECT_EQ(SendMessage(window, WM_CMD_CLOSE_IF_IDLE, 7, 0), 7);
    for (auto& start : starts) EXPECT_EQ(StatusOf(start), 0);
}

TEST_F(AProgramAlone, EndsAtOnceInTheMiddleOfARun) {
    SubscribeToAStalledFeed();
    for (const std::size_t run : {1U, 2U}) {
        auto program = Start({"--update"});
        ASSERT_TRUE(IsAsked("/stalled", run));
        if (run == 1)
            program.Signal(SIGTERM);
        else
            EXPECT_EQ(StatusOfStart({"--close"}), 0);
        EXPECT_EQ(StatusOf(program, 2s), 0) << run;
        EXPECT_THAT(OpenSessions(), IsEmpty());
    }

    const auto before = Window();
    auto closed = Start({"/background"});
    const auto window = Window(before);
    ASSERT_EQ(SendMessage(window, WM_CMD_UPDATE_ALL, 0, 0), 0);
    ASSERT_TRUE(IsAsked("/stalled", 3));
    for (int twice = 0; twice < 2; ++twice)
        EXPECT_EQ(SendMessage(window, WM_CMD_CLOSE_IF_IDLE, 7, 0), -7) << "and stays";
    SendMessage(window, WM_CMD_CLOSE, 0, 0);
    EXPECT_EQ(StatusOf(closed, 2s), 0);
    EXPECT_THAT(OpenSessions(), IsEmpty());
    EXPECT_THAT(Column("SELECT ID FROM DownloadSessions"), SizeIs(3));
    EXPECT_THAT(Complaints(), IsEmpty());
}

TEST_F(AProgramAlone, EndsAtOnceWhileADatabaseIsLocked) {
    server.Answer("/feed", {.body = Feed(Item("a", "l/a")), .delay = 200ms});
    Subscribe({"/feed"});
    Connection other;
    other.DataSource(folder_ / "RSS.MDB");
    std::int32_t window = 0;
    for (const bool by_signal : {true, false}) {
        auto program = Start({"--update"});
        window = Window(window);
        ASSERT_TRUE(IsAsked("/feed", by_signal ? 1 : 2));
        other.BeginWrites();
        // Without the message loop, in which the lock would be given up.
        std::this_thread::sleep_for(600ms);
        EXPECT_THAT(Titles(), IsEmpty()) << "it waits";
        if (by_signal)
            program.Signal(SIGTERM);
        else
            SendMessage(window, WM_CMD_CLOSE, 0, 0);
        EXPECT_LT(TimeOf([&] { EXPECT_EQ(program.Wait(), 0); }), 2s) << by_signal;
        other.CommitWrites();
        EXPECT_EQ(Complaints(), "") << "nor does a window come up, which this platform would complain of";
    }
}

// A notice for want of a connection, and the report of an error. The offscreen platform complains of each
// window.
TEST_F(AProgramAlone, EndsAtOnceWithAModalWindowUp) {
    const EnvVar connection("PELLAGO_CONNECTION", "none");
    Setting("Silent", "1");
    for (const bool by_signal : {true, false}) {
        Setting("hWnd", "0");
        auto program = Start();
        const auto window = Window();
        SendMessage(window, WM_CMD_UPDATE_ALL, 0, 0);
        EXPECT_TRUE(WaitUntil([&] { return WindowsShown() == 2; })) << "the main one and the notice";
        if (by_signal)
            program.Signal(SIGTERM);
        else
            SendMessage(window, WM_CMD_CLOSE, 0, 0);
        EXPECT_EQ(StatusOf(program, 2s), 0) << by_signal;
    }
    const EnvVar connected("PELLAGO_CONNECTION", "lan");
    WriteFile(folder_ / "bad.db", "no database");
    Setting("RSSDS", folder_ / "bad.db");
    auto program = Start({"--update"});
    EXPECT_TRUE(WaitUntil([&] { return WindowsShown() == 1; })) << "the error's";
    program.Signal(SIGTERM);
    EXPECT_EQ(StatusOf(program, 2s), 0);
}

TEST_F(AProgramAlone, SaysWhatItIsAndWhatItDoesNotKnow) {
    {
        const EnvVar platform("QT_QPA_PLATFORM", std::nullopt);
        const EnvVar display("DISPLAY", std::nullopt);
        const EnvVar wayland("WAYLAND_DISPLAY", std::nullopt);
        EXPECT_EQ(StatusOfStart({"--update", "--help"}), 0);
        EXPECT_THAT(Printed(), HasSubstr("--provider=ID"));
        EXPECT_EQ(StatusOfStart({"/version"}), 0);
        EXPECT_THAT(Printed(), testing::MatchesRegex("pellagod [0-9.]+\n"));
        EXPECT_EQ(StatusOfStart({"--close"}), 0);
        EXPECT_EQ(Complaints(), "");
        EXPECT_EQ(StatusOfStart(), 1);
        EXPECT_THAT(Complaints(), testing::MatchesRegex("pellagod: there is no display[^\n]*\n"));
        EXPECT_EQ(Printed(), "");
    }
    auto program = Start({"--no\033such", "/background", "/other=3"});
    SendMessage(Window(), WM_CMD_CLOSE, 0, 0);
    EXPECT_EQ(StatusOf(program), 0);
    const auto complaints = Complaints();
    EXPECT_THAT(complaints, HasSubstr("such\" is not known"));
    EXPECT_THAT(complaints, HasSubstr("\"other\" is not known"));
    EXPECT_EQ(std::ranges::count(complaints, '\n'), 2);
    EXPECT_EQ(complaints.find('\033'), std::string::npos);
}

TEST_F(AProgramAlone, StartsWithSettingsThatMakeNoSense) {
    for (const auto* number : {"abc", "99999999", "-1"}) {
        for (const auto* name : {"AutoStart", "Silent", "ChannelErrors", "StartInTray", "hWnd"})
            Setting(name, "x");
        Setting("AutoUpdate", "1");
        Setting("ProcessPriority", "77");
        Setting("Number", number);
        auto program = Start({"/background"});
        const auto stored = [] {
            const auto text = CStr(gAppSettings->GetSetting("Settings", "hWnd", Variant(std::string("x"))));
            return text == "x" ? 0 : LongFromText(text);
        };
        ASSERT_TRUE(WaitUntil([&] { return stored() != 0; })) << number;
        EXPECT_EQ(SendMessage(stored(), WM_CMD_CLOSE_IF_IDLE, 7, 0), 7);
        EXPECT_EQ(StatusOf(program), 0);
        EXPECT_EQ(Complaints(), "");
    }
}

// Nothing can be forwarded then, and nothing keeps a second from starting; but each works.
TEST_F(AProgramAlone, StartsWithoutAFolderForWhatRuns) {
    const EnvVar runtime("XDG_RUNTIME_DIR", folder_ / "RSS.MDB");
    SubscribeToThree();
    auto program = Start({"--update"});
    EXPECT_TRUE(WaitUntil([&] { return Column(kEnded).size() == 1; }));
    EXPECT_EQ(StatusOfStart({"--close"}), 0);
    EXPECT_FALSE(program.HasEnded());
    program.Signal(SIGTERM);
    EXPECT_EQ(StatusOf(program, 2s), 0);
}

}  // namespace
}  // namespace pellago::test
