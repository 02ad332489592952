#include "desktop/application.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QEvent>
#include <iostream>
#include <optional>

#include "desktop/message_box.h"
#include "platform/loop/message_loop.h"
#include "platform/values/run_time_error.h"
#include "recording_form.h"
#include "support/child.h"
#include "support/support.h"

namespace pellago {
namespace {

using test::RecordingForm;

TEST(Application, ThatWasEndedBeforeItRanDoesNotRun) {
    EXPECT_EXIT(
        {
            Application::Quit(3);
            RecordingForm().Show(ShowMode::kModal);
            _exit(Application::Run());
        },
        testing::ExitedWithCode(3), "");
    EXPECT_EXIT(
        {
            QEvent quit(QEvent::Quit);
            QCoreApplication::sendEvent(qApp, &quit);
            _exit(Application::Run());
        },
        testing::ExitedWithCode(0), "");
}

// The owner of a run hears of it in the middle of that run, once no window objects.
TEST(Application, EndsWithTheSessionAlsoInTheMiddleOfARun) {
    const auto scene = [] {
        RecordingForm hidden;
        hidden.Load();
        RecordingForm shown;
        shown.Show();
        bool stopped = false;
        std::string order;
        shown.on_query = [&](bool& cancel) {
            cancel = order.empty();
            order += "asked ";
        };
        Application::OnSessionEnd([&] {
            order += Application::SessionEnds() ? "ends " : "? ";
            stopped = true;
            throw RunTimeError(5, "", "no");
        });
        UseMessageBox([&](const MessageBoxRequest& request) {
            order += request.text;
            return MessageBoxAnswer::kOk;
        });
        CallLater([&] {
            QEvent refused(QEvent::Quit);
            QCoreApplication::sendEvent(qApp, &refused);
            QCoreApplication::postEvent(qApp, new QEvent(QEvent::Quit));  // owned by the queue
            while (!stopped) DoEvents();
        });
        const int status = Application::Run();
        std::cerr << order << hidden.IsLoaded() << shown.IsLoaded() << Application::SessionEnds();
        _exit(status);
    };
    EXPECT_EXIT(scene(), testing::ExitedWithCode(0), "^asked asked ends no100$");
}

TEST(Application, WithoutADisplayEndsWithOneLine) {
    const test::TempDir folder;
    test::Child program([&] {
        const int file = open((folder / "err").c_str(), O_WRONLY | O_CREAT, 0600);
        dup2(file, STDERR_FILENO);
        dup2(file, STDOUT_FILENO);
        const test::EnvVar platform("QT_QPA_PLATFORM", "xcb");
        const test::EnvVar wayland("WAYLAND_DISPLAY", std::nullopt);
        const test::EnvVar display("DISPLAY", ":none");
        execl("/proc/self/exe", "desktop_tests", "--gtest_list_tests", nullptr);
    });
    EXPECT_EQ(program.Wait(), 1);
    EXPECT_THAT(test::ReadFile(folder / "err"),
                testing::MatchesRegex(
                    "pellagod: there is no display to show windows on: [^\n]*DISPLAY is \":none\"[^\n]*\n"));
}

}  // namespace
}  // namespace pellago
