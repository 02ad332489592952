#include "desktop/form.h"

#include <gmock/gmock.h>

#include <QPushButton>
#include <QTest>
#include <QWindow>
#include <memory>

#include "desktop/application.h"
#include "desktop/event_handler.h"
#include "desktop/message_box.h"
#include "infra/app_settings.h"
#include "infra/form_restore.h"
#include "platform/loop/message_loop.h"
#include "platform/values/run_time_error.h"
#include "platform/windows/window_messages.h"
#include "recording_form.h"
#include "support/child.h"
#include "support/support.h"
#include "support/thrown.h"
#include "support/wait_until.h"
#include "support/while_modal.h"

namespace pellago {
namespace {

using test::RecordingForm;
using testing::ElementsAre;

TEST(Form, GoesThroughItsLifeInOrder) {
    RecordingForm form;
    EXPECT_EQ(form.hWnd(), 0);
    form.Load();
    const auto handle = form.hWnd();
    EXPECT_EQ(SendMessage(handle, 1000, 200, 30), 1230);
    form.Show();
    form.Hide();
    form.Show();
    EXPECT_THAT(form.Told(), ElementsAre("load", "activate", "activate"));
    form.tell_resize = true;
    form.WindowState(FormWindowState::kMinimized);
    form.WindowState(FormWindowState::kNormal);
    form.resize(310, 200);
    EXPECT_THAT(form.Told(), ElementsAre("minimized", "resize", "resize"));
    EXPECT_TRUE(form.Unload());
    EXPECT_TRUE(form.Unload());
    EXPECT_THAT(form.Told(), ElementsAre("query 1", "unload"));
    EXPECT_FALSE(form.isVisible());
    EXPECT_EQ(SendMessage(handle, 1, 1, 1), 0);
    form.Show();
    EXPECT_THAT(form.Told(), testing::Contains("load"));
    EXPECT_NE(form.hWnd(), handle);
}

TEST(Form, MayRefuseToBeClosed) {
    RecordingForm form;
    form.Show();
    form.Told();
    form.on_query = [](bool& cancel) { cancel = true; };
    EXPECT_FALSE(form.close());
    EXPECT_FALSE(form.Unload(UnloadMode::kAppWindows));
    EXPECT_TRUE(form.isVisible());
    QTest::keyClick(&form, Qt::Key_Escape);
    EXPECT_THAT(form.Told(), ElementsAre("query 0", "query 2"));
    form.on_query = nullptr;
    EXPECT_TRUE(form.close());
    EXPECT_FALSE(form.IsLoaded());
}

TEST(Form, IsToldWhenTheSessionEnds) {
    RecordingForm form;
    form.Show();
    form.Told();
    // Refused, for the tests go on.
    form.on_query = [](bool& cancel) { cancel = true; };
    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);
    form.close();
    EXPECT_THAT(form.Told(), ElementsAre("query 2", "query 0"));
}

// While the person is asked, another program may end this one.
TEST(Form, IsUnloadedOnceHoweverManyAskForIt) {
    RecordingForm form;
    form.Show();
    form.Told();
    form.on_query = [&](bool& cancel) {
        form.on_query = nullptr;
        EXPECT_TRUE(form.Unload());
        cancel = true;
    };
    form.on_unload = [&] { form.Unload(); };
    EXPECT_TRUE(form.Unload(UnloadMode::kFormControlMenu));
    EXPECT_THAT(form.Told(), ElementsAre("query 0", "query 1", "unload"));
}

TEST(Form, ShownModallyReturnsWhenItIsHiddenOrUnloaded) {
    RecordingForm form;
    QPushButton button(&form);
    OnClick(&button, [&] { form.Tag("clicked"); });
    OnClick(&button, [&] { form.Hide(); });
    form.CancelButton(&button);
    const auto show = [&] { form.Show(ShowMode::kModal); };
    test::WhileModal([](QWidget& modal) { QTest::keyClick(&modal, Qt::Key_Escape); }, show);
    EXPECT_EQ(form.Tag(), "clicked");
    EXPECT_TRUE(form.IsLoaded());
    test::WhileModal([](QWidget& modal) { modal.close(); }, show);
    EXPECT_FALSE(form.IsLoaded());
    form.on_activate = [&] { form.Hide(); };
    show();
    form.on_activate = nullptr;
    form.Show();
    EXPECT_EQ(test::ThrownBy(show).number, 400);
}

TEST(Form, ComingUpIsResizedOnceBeforeItIsActive) {
    RecordingForm form;
    form.tell_resize = true;
    form.resize(310, 210);
    form.Show();
    EXPECT_THAT(form.Told(), ElementsAre("load", "resize", "activate"));
    form.Hide();
    // As one does that lives in a tray.
    form.on_resize = [&] {
        if (form.WindowState() == FormWindowState::kMinimized) form.Hide();
    };
    form.WindowState(FormWindowState::kMinimized);
    form.Show();
    EXPECT_THAT(form.Told(), ElementsAre("minimized"));
    EXPECT_FALSE(form.isVisible());
}

TEST(Form, ShownModallyStaysBeforeTheWindowThatWasActive) {
    RecordingForm below;
    RecordingForm form;
    below.Show();
    ASSERT_TRUE(test::WaitUntil([&] { return below.isActiveWindow(); }));
    const auto look = [&](QWidget&) {
        EXPECT_EQ(form.windowHandle()->transientParent(), below.windowHandle());
        // Shown again before the modal show has returned, it is another show.
        form.Hide();
        form.Show();
    };
    test::WhileModal(look, [&] { form.Show(ShowMode::kModal); });
    EXPECT_TRUE(form.isVisible());
    EXPECT_FALSE(form.isModal());
    EXPECT_FALSE(form.windowHandle()->transientParent());
    EXPECT_EQ(form.windowType(), Qt::Window);
    EXPECT_TRUE(form.windowFlags() & Qt::WindowMinimizeButtonHint);
}

TEST(Form, MayBeDestroyedInTheMiddleOfEverything) {
    const auto destroyed_by = [](auto prepare, auto act) {
        auto form = std::make_unique<RecordingForm>();
        prepare(*form, [&] { form.reset(); });
        act(*form);
        EXPECT_FALSE(form);
    };
    const auto show = [](RecordingForm& form) { form.Show(); };
    const auto show_modal = [](RecordingForm& form) { form.Show(ShowMode::kModal); };
    const auto close = [](RecordingForm& form) {
        form.Show();
        form.close();
    };
    destroyed_by([](auto& form, auto end) { form.on_load = end; }, show_modal);
    destroyed_by([](auto& form, auto end) { form.on_query = [end](bool&) { end(); }; }, close);
    destroyed_by([](auto& form, auto end) { form.on_unload = end; }, close);
    destroyed_by([](auto& form, auto end) { form.on_resize = end; }, show);
    destroyed_by([](auto& form, auto end) { form.on_activate = end; }, show_modal);
    const auto restore = [](RecordingForm& form) {
        form.Show();
        form.WindowState(FormWindowState::kMinimized);
        form.WindowState(FormWindowState::kNormal);
    };
    destroyed_by(
        [](auto& form, auto end) {
            form.on_resize = [&form, end, was_minimized = false]() mutable {
                if (was_minimized) return end();
                was_minimized = form.WindowState() == FormWindowState::kMinimized;
            };
        },
        restore);
    destroyed_by([](auto&, auto end) { CallLater(end); }, show_modal);
    WindowProcedure kept;
    destroyed_by(
        [&](auto& form, auto end) {
            form.on_load = [&kept, &form] { kept = SetWindowProcedure(form.hWnd(), nullptr); };
            form.on_activate = end;
        },
        show);
    EXPECT_EQ(kept(1, 2, 3, 4), 0);
}

TEST(Form, ShowsWhatItsHandlersThrowAndGoesOn) {
    RecordingForm form;
    std::vector<std::string> shown;
    UseMessageBox([&](const MessageBoxRequest& request) {
        shown.push_back(request.text);
        return MessageBoxAnswer::kOk;
    });
    form.on_activate = [] { throw RunTimeError(5, "", "no"); };
    form.on_unload = [] { throw RunTimeError(5, "", "never"); };
    form.Show();
    EXPECT_TRUE(form.Unload());
    UseMessageBox(ShowMessageBoxWindow);
    EXPECT_THAT(shown, ElementsAre("no", "never"));
    form.on_load = [] { throw RunTimeError(5, "", "not yet"); };
    EXPECT_EQ(test::ThrownBy([&] { form.Show(); }).text, "not yet");
    EXPECT_FALSE(form.IsLoaded() || form.isVisible());
    form.on_unload = nullptr;
    form.on_load = [&] { form.Unload(); };
    form.Show();
    EXPECT_FALSE(form.IsLoaded() || form.isVisible());
}

class AFormsPlace : public testing::Test {
protected:
    AFormsPlace() {
        settings_.Init("Quenlith", "Test");
        restore_.Init(&settings_, true);
    }

    test::TempDir folder_;
    test::EnvVar config_{"XDG_CONFIG_HOME", folder_.Path().string()};
    CAppSettings settings_;
    CFormRestore restore_;
};

TEST_F(AFormsPlace, IsKeptFromOneStartToTheNext) {
    {
        RecordingForm form;
        restore_.GetPosition(form);
        EXPECT_FALSE(form.isVisible());
        EXPECT_NEAR(form.geometry().center().x(), form.screen()->availableGeometry().center().x(), 1);
        form.Show();
        form.move(40, 50);
        form.resize(320, 210);
        restore_.SavePosition(form);
    }
    for (int start = 0; start < 3; ++start) {
        RecordingForm form;
        restore_.GetPosition(form);
        form.Show();
        EXPECT_EQ(form.pos(), QPoint(40, 50));
        EXPECT_EQ(form.size(), QSize(320, 210));
        form.WindowState(start == 2 ? FormWindowState::kMaximized : FormWindowState::kNormal);
        restore_.SavePosition(form);
    }
    RecordingForm form;
    restore_.GetPosition(form);
    form.Show();
    EXPECT_EQ(form.WindowState(), FormWindowState::kMaximized);
    form.WindowState(FormWindowState::kNormal);
    EXPECT_EQ(form.size(), QSize(320, 210));

    RecordingForm fixed(BorderStyle::kFixedSingle);
    restore_.GetPosition(fixed);
    EXPECT_EQ(fixed.pos(), QPoint(40, 50));
    EXPECT_EQ(fixed.size(), QSize(300, 200));
}

TEST_F(AFormsPlace, IsTakenByAVisibleFormWithItsState) {
    RecordingForm form;
    form.Show();
    auto placement = *form.Placement();
    placement.normal = {60, 70, 460, 370};
    for (const auto& [command, state] : {std::pair{show_command::kShowMaximized, FormWindowState::kMaximized},
                                         {show_command::kMinimize, FormWindowState::kMinimized},
                                         {show_command::kRestore, FormWindowState::kNormal}}) {
        placement.show_command = command;
        form.Placement(placement);
        EXPECT_EQ(form.WindowState(), state);
        EXPECT_EQ(form.Placement()->normal, placement.normal);
    }
    placement.show_command = show_command::kHide;
    form.Placement(placement);
    EXPECT_FALSE(form.isVisible());
}

TEST_F(AFormsPlace, IsBroughtBackOntoTheScreen) {
    const auto area = QGuiApplication::primaryScreen()->availableGeometry();
    for (const auto& [left, top] : {std::pair{-30000, 10}, {2147483647, -2147483647}, {100, area.bottom()}}) {
        for (const auto& [name, value] : {std::pair{"WindowState", 1},
                                          {"NormalPosLeft", left},
                                          {"NormalPosTop", top},
                                          {"NormalPosRight", 2147483647},
                                          {"NormalPosBottom", -2147483647}})
            settings_.SaveSetting("Windows settings\\frmRecording", name, value);
        RecordingForm form;
        restore_.GetPosition(form);
        form.Show();
        EXPECT_TRUE(area.contains(form.pos())) << left << " " << top;
        EXPECT_TRUE(area.contains(form.geometry().center())) << left << " " << top;
    }
}

}  // namespace
}  // namespace pellago
