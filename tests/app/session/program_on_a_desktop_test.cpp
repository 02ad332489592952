#include <gmock/gmock.h>

#include <QProcess>
#include <algorithm>
#include <optional>

#include "support/program_fixture.h"
#include "support/stand_in_desktop.h"
#include "x_windows.h"

// The program on a whole desktop, seen from outside.
namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class AProgramOnADesktop : public AProgram {
protected:
    static bool IsMain(const XWindow& window) {
        return window.title == "Pellago" && window.width > 200 && !window.is_popup;
    }
    static bool IsMenu(const XWindow& window) {
        return window.is_popup && window.is_viewable && window.program == "pellagod" && window.height > 80;
    }
    bool Sees(bool (*kind)(const XWindow&)) const {
        const auto windows = screen.Windows();
        return std::ranges::any_of(windows, [&](const auto& window) { return kind(window); });
    }
    bool MainIsSeen() const {
        return Sees([](const XWindow& window) { return IsMain(window) && window.is_viewable; });
    }
    bool MainIsIconic() const {
        return Sees([](const XWindow& window) { return IsMain(window) && window.is_iconic; });
    }
    testing::AssertionResult Soon(const std::function<bool()>& state) const {
        if (WaitUntil(state, 10s)) return testing::AssertionSuccess();
        auto failure = testing::AssertionFailure();
        for (const auto& window : screen.Windows())
            failure << '\n'
                    << window.program << " \"" << window.title << "\" " << window.width << 'x'
                    << window.height << (window.is_viewable ? " seen" : "")
                    << (window.is_iconic ? " iconic" : "") << (window.is_popup ? " popup" : "");
        return failure;
    }

    XServer screen;
};

class AProgramInATray : public AProgramOnADesktop {
protected:
    bool HasIcon() const { return tray->Items().size() == 1; }
    std::vector<QString> Balloons() const {
        std::vector<QString> balloons;
        for (const auto& balloon : notifications.Sent())
            balloons.push_back(balloon.title + ": " + balloon.body);
        return balloons;
    }

    std::optional<StandInTray> tray{std::in_place};
    StandInNotifications notifications{{"actions", "body"}};
};

TEST_F(AProgramInATray, TellsThereOfARunAndOpensItsWindowFromThere) {
    SubscribeToAStalledFeed();
    auto program = Start({"/background"});
    const auto window = Window();
    ASSERT_TRUE(Soon([&] { return HasIcon() && tray->Tip() == "Pellago"; }));
    EXPECT_EQ(tray->Menu().join("|"),
              "Open Pellago|RSS Link Catcher||Start downloading|Stop downloading||Exit");
    EXPECT_EQ(tray->DisabledInMenu().join("|"), "Stop downloading");
    EXPECT_FALSE(MainIsSeen());
    const auto idle = tray->Picture();

    tray->ChooseFromMenu("Start downloading");
    ASSERT_TRUE(IsAsked("/stalled"));
    EXPECT_TRUE(Soon([&] { return tray->Tip() == "Downloading: 100 %" && tray->Picture() != idle; }));
    EXPECT_EQ(tray->DisabledInMenu().join("|"), "Start downloading|Exit");
    tray->ChooseFromMenu("Stop downloading");
    EXPECT_TRUE(Soon([&] { return Balloons().size() == 2; }));
    EXPECT_THAT(Balloons(),
                ElementsAre("Pellago: News downloading started", "Pellago: News download canceled"));
    EXPECT_TRUE(Soon([&] { return tray->Tip() == "Pellago" && tray->Picture() == idle; }));
    EXPECT_EQ(tray->DisabledInMenu().join("|"), "Stop downloading");

    EXPECT_FALSE(MainIsSeen());
    tray->Activate();
    tray->Activate();
    EXPECT_TRUE(Soon([&] { return MainIsSeen(); }));
    EXPECT_EQ(StatusOfStart({"/update"}), 0);
    ASSERT_TRUE(IsAsked("/stalled", 2));
    EXPECT_EQ(SendMessage(window, WM_CMD_CLOSE_IF_IDLE, 7, 0), -7);
    EXPECT_EQ(StatusOfStart({"--close"}), 0);
    EXPECT_EQ(StatusOf(program, 2s), 0);
    EXPECT_TRUE(Soon([&] { return tray->Items().isEmpty(); }));
    EXPECT_EQ(Balloons().size(), 2U) << "of a run whose window is seen";
    EXPECT_THAT(OpenSessions(), IsEmpty());
}

TEST_F(AProgramInATray, ComesUpMinimisedWhereItsTrayStaysAway) {
    auto program = Start({"/background"});
    ASSERT_TRUE(Soon([&] { return HasIcon(); }));
    Window();
    tray.reset();
    EXPECT_TRUE(Soon([&] { return MainIsIconic(); }));
    tray.emplace();
    EXPECT_TRUE(Soon([&] { return HasIcon() && !MainIsIconic(); }));
    EXPECT_EQ(tray->Menu().size(), 7);
    // As soon as no user is; the window manager's last word on the hidden window may still be under way.
    PumpFor(500ms);
    EXPECT_EQ(StatusOfStart(), 0);
    EXPECT_TRUE(Soon([&] { return MainIsSeen(); })) << "asked for by a second start";
    program.Signal(SIGTERM);
    EXPECT_EQ(StatusOf(program, 2s), 0);
    EXPECT_TRUE(Soon([&] { return tray->Items().isEmpty(); }));
}

TEST_F(AProgramInATray, LeavesItAtOnceWhenItIsTerminated) {
    SubscribeToAStalledFeed();
    auto program = Start({"--update"});
    ASSERT_TRUE(IsAsked("/stalled"));
    ASSERT_TRUE(Soon([&] { return HasIcon() && Balloons().size() == 1; }));
    program.Signal(SIGTERM);
    EXPECT_EQ(StatusOf(program, 2s), 0);
    EXPECT_TRUE(Soon([&] { return tray->Items().isEmpty(); }));
    EXPECT_THAT(OpenSessions(), IsEmpty());

    auto asking = Start({"/background"});
    Window();
    ASSERT_TRUE(Soon([&] { return HasIcon(); }));
    tray->ChooseFromMenu("Exit");
    EXPECT_TRUE(Soon([&] {
        return Sees([](const XWindow& window) { return window.title == "Pellago" && window.is_viewable; });
    })) << "the question whether to";
    asking.Signal(SIGTERM);
    EXPECT_EQ(StatusOf(asking, 2s), 0);
}

/// A real tray of the XEmbed kind, on a desktop without one on its bus.
class AProgramInAnXembedTray : public AProgramOnADesktop {
protected:
    AProgramInAnXembedTray() { StartPanel(); }
    ~AProgramInAnXembedTray() override { EndPanel(); }

    void StartPanel() { panel.start("trayer", {"--edge", "bottom"}); }
    void EndPanel() {
        panel.kill();
        panel.waitForFinished();
    }
    /// 0 where there is none.
    xcb_window_t Icon() const {
        const auto windows = screen.Windows();
        const auto icon = std::ranges::find_if(windows, [](const auto& window) {
            return window.program == "pellagod" && window.is_viewable && window.width < 60 &&
                   window.height < 60;
        });
        return icon == windows.end() ? 0 : icon->id;
    }

    QProcess panel;
};

TEST_F(AProgramInAnXembedTray, OpensMenuAndWindowByItsIconUntilItIsClosed) {
    auto program = Start({"/background"});
    Window();
    ASSERT_TRUE(Soon([&] { return Icon() != 0; }));
    screen.Click(Icon(), XCB_BUTTON_INDEX_1);
    PumpFor(100ms);
    EXPECT_FALSE(Sees(IsMenu));
    screen.Click(Icon(), XCB_BUTTON_INDEX_3);
    EXPECT_TRUE(Soon([&] { return Sees(IsMenu); }));
    EXPECT_FALSE(MainIsSeen());
    screen.Click(Icon(), XCB_BUTTON_INDEX_1);
    EXPECT_TRUE(Soon([&] { return !Sees(IsMenu); }));
    screen.Click(Icon(), XCB_BUTTON_INDEX_1);
    screen.Click(Icon(), XCB_BUTTON_INDEX_1);
    EXPECT_TRUE(Soon([&] { return MainIsSeen(); }));
    EndPanel();
    EXPECT_TRUE(Soon([&] { return Icon() == 0; }));
    StartPanel();
    EXPECT_TRUE(Soon([&] { return Icon() != 0; }));
    EXPECT_EQ(StatusOfStart({"/close"}), 0);
    EXPECT_EQ(StatusOf(program, 2s), 0);
    EXPECT_TRUE(Soon([&] { return Icon() == 0; }));
}

}  // namespace
}  // namespace pellago::test
