#include <QAbstractButton>

#include "support/main_window_fixture.h"

// How the main window opens, hides and ends.
namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

TEST_F(AMainWindow, ClosesWhenIdleAndOtherwiseSaysThatItStays) {
    Feeds({"slow"});
    Load();
    int reply = 0;
    DuringFeed("slow", [&] { reply = Send(WM_CMD_CLOSE_IF_IDLE, 7); });
    Click("cmdUpdate");
    EXPECT_EQ(reply, -7);
    EXPECT_EQ(Titles().size(), 1U);
    EXPECT_EQ(gone, 0);
    EXPECT_EQ(Send(WM_CMD_CLOSE_IF_IDLE, 7), 7);
    EXPECT_EQ(gone, 1);
    EXPECT_FALSE(window->IsLoaded());
    EXPECT_EQ(shell.IconCount(), 0U);
}

TEST_F(AMainWindow, AsksBeforeItsCloseBoxEndsItAndRefusesDuringARun) {
    Feeds({"slow"});
    Show();
    answer = MessageBoxAnswer::kNo;
    during_box = [&] {
        shell.Choose("Start downloading");
        Send(WM_CMD_UPDATE_ALL);
        PumpFor(450ms);
        EXPECT_EQ(server.Requests("/slow"), 0U) << "a run would keep the answer from being heard";
    };
    EXPECT_FALSE(window->close());
    during_box = nullptr;
    EXPECT_TRUE(RunEnds()) << "the command has waited";
    DuringFeed("slow", [&] { EXPECT_FALSE(window->close()); });
    Click("cmdUpdate");
    EXPECT_TRUE(window->isVisible());
    // The tray's menu is alive while a question is asked: it must not be asked twice.
    answer = MessageBoxAnswer::kYes;
    during_box = [&] { shell.Choose("Exit"); };
    EXPECT_TRUE(window->close());
    EXPECT_THAT(boxes, ElementsAre("Are you sure to close Pellago utility?",
                                   "Please, stop downloading process before quiting this application!",
                                   "Are you sure to close Pellago utility?"));
    EXPECT_EQ(gone, 1);
}

// Also from inside a message box, which is answered when all is over.
TEST_F(AMainWindow, EndsItsRunWhenItIsClosedInTheMiddle) {
    Feeds({"first", "slow", "never"});
    Load();
    DuringFeed("slow", [&] {
        during_box = [&] { Send(WM_CMD_CLOSE); };
        window->close();
    });
    Click("cmdUpdate");
    EXPECT_EQ(gone, 1);
    EXPECT_EQ(shell.IconCount(), 0U);
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(EndedSessions(), 1U);
    EXPECT_EQ(server.Requests("/never"), 0U);
    EXPECT_THAT(Balloons(), ElementsAre("1 News downloading started"));
    // Whatever still comes to it from the stack does nothing.
    window->StartUpdate(update_mode::kAll, 0);
    PumpFor(10ms);
    EXPECT_EQ(EndedSessions(), 1U);
    EXPECT_EQ(shell.IconCount(), 0U);
    EXPECT_THAT(reports, IsEmpty());
}

// Closed from inside the error's dialog, with the answer that goes on with the next statement: in the balloon
// of the start, and in the animation.
TEST_F(AMainWindow, StandsBeingClosedWhileAnErrorOfItsIconIsShown) {
    Feeds({"slow"});
    server.Answer("/slow", {.body = Feed(""), .delay = 1300ms});
    UseErrorDialog([&](const std::string& report, const std::string&) {
        reports.push_back(report);
        shell.before_call = nullptr;
        Send(WM_CMD_CLOSE);
        return 2;
    });
    std::size_t requests = 0;
    for (const auto failing : {NIF_INFO, NIF_ICON}) {
        Load();
        reports.clear();
        shell.before_call = [&](const auto& call) {
            if (call.message == NIM_MODIFY && call.record.flags & failing)
                throw RunTimeError(5, "", "no tray");
        };
        Click("cmdUpdate");
        EXPECT_THAT(reports, SizeIs(1)) << failing;
        EXPECT_FALSE(window->IsLoaded());
        EXPECT_EQ(shell.IconCount(), 0U);
        EXPECT_EQ(server.Requests("/slow"), requests++) << "a run that has not begun does not begin any more";
    }
    EXPECT_EQ(gone, 2);
}

TEST_F(AMainWindow, OpensFromItsIconAndNeverHidesWithoutOne) {
    Load();
    shell.Send(WM_LBUTTONDOWN);
    EXPECT_FALSE(window->isVisible());
    shell.Send(WM_LBUTTONDBLCLK);
    EXPECT_TRUE(window->isVisible());
    window->WindowState(FormWindowState::kMinimized);
    EXPECT_FALSE(window->isVisible()) << "it hides when it is minimised";
    PumpFor(20ms);
    shell.Choose("Open Pellago");
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->WindowState(), FormWindowState::kNormal);
    Click("btnHide");
    EXPECT_FALSE(window->isVisible());
    Send(WM_CMD_SHOW);
    EXPECT_TRUE(window->isVisible());

    shell.ChangeArea(false);
    Click("btnHide");
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->WindowState(), FormWindowState::kMinimized);
    shell.ChangeArea(true);
    EXPECT_FALSE(window->isVisible());
    shell.ChangeArea(false);
    EXPECT_TRUE(WaitUntil([&] { return window->isVisible(); }, 10s)) << "nobody could find it";
    EXPECT_EQ(window->WindowState(), FormWindowState::kMinimized);
}

TEST_F(AMainWindow, OpensAndClosesTheCatcherAndMarksItsEntry) {
    Load();
    const auto catcher = [] {
        for (auto* top : QApplication::topLevelWidgets())
            if (top->objectName() == "frmRSSLinkCatcher" && top->isVisible()) return top;
        return static_cast<QWidget*>(nullptr);
    };
    for (int round = 0; round < 2; ++round) {
        shell.Choose("RSS Link Catcher");
        ASSERT_TRUE(catcher());
        EXPECT_THAT(Entries(), HasSubstr("|RSS Link Catcher+|"));
        if (round == 0)
            shell.Choose("RSS Link Catcher");
        else
            catcher()->close();
        EXPECT_TRUE(WaitUntil([&] { return !catcher(); }, 10s));
        EXPECT_THAT(Entries(), HasSubstr("|RSS Link Catcher|"));
    }
    shell.Choose("RSS Link Catcher");
    catcher()->move(50, 60);
    Send(WM_CMD_CLOSE);
    EXPECT_FALSE(catcher());
    Load();
    shell.Choose("RSS Link Catcher");
    EXPECT_EQ(catcher()->pos(), QPoint(50, 60)) << "it is not where it was left";
}

}  // namespace
}  // namespace pellago::test
