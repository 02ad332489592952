#include "app/tray/sys_tray.h"

#include <gmock/gmock.h>

#include <QAction>
#include <QMenu>
#include <functional>
#include <memory>

#include "desktop/icons.h"
#include "infra/process_objects.h"
#include "platform/files/program.h"
#include "platform/system/system_version.h"
#include "platform/windows/window_messages.h"
#include "support/fake_notification_shell.h"

namespace pellago {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string Times(int count, const std::string& text) {
    return QString::fromStdString(text).repeated(count).toStdString();
}

class ATrayWindow : public testing::Test, public frmSysTrayEvents {
protected:
    ATrayWindow() { gErrorHandler = std::make_unique<CErrorHandler>(); }
    ~ATrayWindow() override {
        form_ = nullptr;
        gErrorHandler = nullptr;
        ReplaceSystemVersion(nullptr);
    }

    void SysTrayMouseDown(std::int32_t button) override { Hear("down", button); }
    void SysTrayMouseUp(std::int32_t button) override { Hear("up", button); }
    void SysTrayMouseMove() override { Hear("move", 0); }
    void SysTrayDoubleClick(std::int32_t button) override { Hear("double", button); }
    void MenuClick(std::int32_t index, const std::string& key) override { Hear(key, index); }
    void BalloonShow() override { Hear("shown", 0); }
    void BalloonHide() override { Hear("hidden", 0); }
    void BalloonTimeOut() override { Hear("over", 0); }
    void BalloonClicked() override { Hear("clicked", 0); }
    void Hear(const std::string& event, std::int32_t number) {
        heard_.push_back(event + " " + std::to_string(number));
        if (act_) act_();
    }

    /// The form that a system of this family and version gets.
    void LoadOn(std::uint32_t platform_id, std::uint32_t major, std::uint32_t minor) {
        ReplaceSystemVersion([=](std::uint32_t) { return SystemVersion{major, minor, 0, platform_id}; });
        form_ = std::make_unique<frmSysTray>(*this);
        form_->Load();
    }
    const NotificationRecord& Last() const { return shell_.Calls().back().record; }
    std::string Tip() const { return shell_.FirstIcon()->record.tip; }

    test::FakeNotificationShell shell_;
    std::vector<std::string> heard_;
    std::function<void()> act_;
    std::unique_ptr<frmSysTray> form_ = std::make_unique<frmSysTray>(*this);
};

TEST_F(ATrayWindow, AddsAndRemovesItsIconInTheFormThatTheSystemTakes) {
    struct Case {
        std::uint32_t platform_id, major, minor;
        bool balloons;
        int letters;  ///< of two bytes and one unit each
    };
    for (const auto& [platform_id, major, minor, balloons, letters] :
         {Case{2, 5, 1, true, 127}, Case{2, 6, 0, true, 127}, Case{1, 4, 90, true, 64},
          Case{2, 4, 90, false, 63}, Case{1, 4, 10, false, 32}, Case{1, 5, 0, false, 32}}) {
        SCOPED_TRACE(testing::Message() << platform_id << ": " << major << "." << minor);
        shell_.ForgetCalls();
        LoadOn(platform_id, major, minor);
        const auto add = shell_.Calls().at(0).record;
        EXPECT_EQ(add.hwnd, form_->hWnd());
        EXPECT_EQ(add.id, LoadIcon("pellago"));
        EXPECT_EQ(add.flags, NIF_MESSAGE | NIF_ICON | NIF_TIP);
        EXPECT_EQ(add.callback_message, 0x200);
        EXPECT_EQ(add.icon, LoadIcon("pellago"));
        EXPECT_EQ(add.tip, ProgramDescription());
        EXPECT_EQ(Last().timeout_or_version, balloons ? 3U : 0U);
        form_->ToolTip(Times(200, "ü"));
        EXPECT_EQ(Last().flags, NIF_TIP);
        EXPECT_EQ(Tip(), Times(letters, "ü"));
        form_->ShowBalloonTip("text", "title", NIIF_INFO, 5000);
        form_->Unload();
        EXPECT_EQ(shell_.IconCount(), 0U);
        const auto expected = balloons
                                  ? std::vector{NIM_ADD, NIM_SETVERSION, NIM_MODIFY, NIM_MODIFY, NIM_DELETE}
                                  : std::vector{NIM_ADD, NIM_MODIFY, NIM_DELETE};
        EXPECT_EQ(shell_.Messages(), expected);
    }
    form_->Load();
    form_ = nullptr;
    EXPECT_EQ(shell_.IconCount(), 0U) << "of a form that was not unloaded";
}

TEST_F(ATrayWindow, SendsOnlyWhatChangedAndCutsItBetweenCharacters) {
    for (const bool wide : {true, false}) {
        LoadOn(wide ? VER_PLATFORM_WIN32_NT : 1, wide ? 5 : 4, 90);
        const auto start = std::string(126, 'a');
        form_->ToolTip(start + "😀");
        EXPECT_EQ(Tip(), start);
        form_->ToolTip("");
        EXPECT_EQ(Tip(), start);
        form_->ToolTip(std::string(200, '\xFF'));
        EXPECT_EQ(Tip(), Times(wide ? 127 : 42, "\uFFFD"));

        form_->ShowBalloonTip(std::string(254, 'i') + "😀", std::string(62, 't') + "😀", NIIF_ERROR, 1);
        EXPECT_EQ(Last().info + Last().info_title, std::string(254, 'i') + std::string(62, 't'));
        form_->ShowBalloonTip(std::string(300, 'i'), std::string(70, 't'), NIIF_ERROR, 1);
        EXPECT_EQ(Last().info + Last().info_title, std::string(255, 'i') + std::string(63, 't'));
        form_->ShowBalloonTip("i", "", NIIF_WARNING, 5000);
        EXPECT_EQ(Last().info + Last().info_title, "i");
        EXPECT_EQ(Last().flags, NIF_INFO);
        EXPECT_EQ(Last().info_flags, NIIF_WARNING);
        EXPECT_EQ(Last().timeout_or_version, 5000U);

        shell_.ForgetCalls();
        for (const auto handle : {LoadIcon("pellago"), 4711, 4711}) form_->IconHandle(handle);
        EXPECT_THAT(shell_.Messages(), ElementsAre(NIM_MODIFY));
        EXPECT_EQ(Last().flags, NIF_ICON);
        EXPECT_EQ(Last().icon, 4711);
    }
}

TEST_F(ATrayWindow, BuildsAndChangesItsMenu) {
    form_->Load();
    EXPECT_THAT(shell_.Menu(), IsEmpty());
    EXPECT_EQ(form_->AddMenuItem("Stop & go", "a", false), 0);
    EXPECT_EQ(form_->AddMenuItem("-", "", false), 1);
    EXPECT_EQ(form_->AddMenuItem("b", "b", true), 2);
    EXPECT_EQ(form_->AddMenuItem("c", "c", false), 3);
    form_->EnableMenuItem(0, false);
    form_->CheckMenuItem(3, true);
    for (const std::int32_t outside : {-1, 4}) {
        form_->EnableMenuItem(outside, false);
        form_->CheckMenuItem(outside, true);
        form_->RemoveMenuItem(outside);
        EXPECT_FALSE(form_->IsMenuItemChecked(outside));
    }
    EXPECT_THAT(shell_.Menu(), ElementsAre("Stop && go!", "--", "b*", "c+"));

    form_->DefaultMenuIndex(3);
    form_->RemoveMenuItem(0);
    EXPECT_EQ(form_->DefaultMenuIndex(), 0) << "the last index is gone";
    form_->DefaultMenuIndex(1);
    EXPECT_THAT(shell_.Menu(), ElementsAre("--", "b*", "c+"));
    EXPECT_TRUE(form_->findChild<QAction*>("mnuSysTray0"));
    EXPECT_TRUE(shell_.Choose("b"));
    EXPECT_TRUE(shell_.Choose("c"));
    EXPECT_THAT(heard_, ElementsAre("b 1", "c 2"));
    EXPECT_TRUE(form_->IsMenuItemChecked(2)) << "a choice alone changes no mark";
    form_->DefaultMenuIndex(3);
    for (int i = 0; i < 3; ++i) form_->RemoveMenuItem(0);
    EXPECT_THAT(shell_.Menu(), ElementsAre("c*+"));
    form_->CheckMenuItem(0, false);
    EXPECT_TRUE(shell_.Choose("c"));
    EXPECT_FALSE(form_->IsMenuItemChecked(0));
}

TEST_F(ATrayWindow, TellsWhatTheIconTells) {
    form_->Load();
    for (const std::int32_t code : {0x200, 0x201, 0x202, 0x203, 0x204, 0x205, 0x206, 0x402, 0x403, 0x404,
                                    0x405, 0x207, 0x400, 0x401, 0x406, 0})
        shell_.Send(code);
    SendMessage(form_->hWnd(), 0x201, 0, 0x201);
    EXPECT_THAT(heard_, ElementsAre("move 0", "down 1", "up 1", "double 1", "down 2", "up 2", "double 2",
                                    "shown 0", "hidden 0", "over 0", "clicked 0"));
}

TEST_F(ATrayWindow, MayBeUnloadedAndDestroyedByWhomItTells) {
    const auto load = [&] {
        form_ = std::make_unique<frmSysTray>(*this);
        form_->AddMenuItem("Exit", "exit", false);
        form_->Load();
    };
    for (const auto& act : {std::function<void()>([&] { form_->Unload(); }), {[&] { form_ = nullptr; }}}) {
        act_ = act;
        load();
        EXPECT_TRUE(shell_.Choose("Exit"));
        EXPECT_EQ(shell_.IconCount(), 0U);
        load();
        shell_.Send(NIN_BALLOONUSERCLICK);
        EXPECT_EQ(shell_.IconCount(), 0U);
    }
    load();
    act_ = [&] { form_->ShowMenu(); };
    shell_.Send(WM_RBUTTONDOWN);
    const auto* menu = form_->findChild<QMenu*>("mnuPopup");
    EXPECT_TRUE(menu->isVisible());
    menu->actions().first()->trigger();
    form_->Unload();
    EXPECT_FALSE(menu->isVisible());
    DoEvents();
    EXPECT_THAT(heard_, ElementsAre("exit 0", "clicked 0", "exit 0", "clicked 0", "down 2"))
        << "nothing that was chosen before the unload";
}

}  // namespace
}  // namespace pellago
