#include "app/shared/globals.h"

#include <iostream>

#include "app/shared/timed_message.h"
#include "desktop/clipboard_format.h"
#include "desktop/theme.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "platform/loop/message_loop.h"
#include "store/de1.h"

namespace pellago {
namespace {

constexpr const char* kMutexName = "CORVANE_MUTEX";

std::unique_ptr<DE1> data_environment;

}  // namespace

bool gShowMainWindow = false;
bool gCloseRequested = false;
bool gUpdateRequested = false;
std::int32_t gProviderID = -1;
std::int32_t gChannelID = -1;
bool gAlreadyRunning = false;
std::unique_ptr<NamedMutex> gMutexHandle;
std::uint32_t gThemeBackColor = kButtonFace;

DE1& DataEnvironment() {
    if (!data_environment) data_environment = std::make_unique<DE1>();
    return *data_environment;
}

void CloseDataEnvironment() { data_environment.reset(); }

bool IsAlreadyRunning() {
    // A mutex that cannot be made counts as one that no other process holds.
    const auto tell_and_go_on = [] {
        std::cerr << "pellagod: another start of it will not find this one: " << Err().description
                  << std::endl;
        return Decision::kIgnore;
    };
    RunStatements(tell_and_go_on, [](Statements& run) {
        run([] { gMutexHandle = std::make_unique<NamedMutex>(kMutexName); });
    });
    if (!gMutexHandle || !gMutexHandle->AlreadyExisted()) return false;
    ReleaseAppMutex();
    return true;
}

void ReleaseAppMutex() { gMutexHandle.reset(); }

void SetThemeBackColor() {
    gThemeBackColor = IsThemeActive() && IsAppThemed() ? kWindowBackground : kButtonFace;
}

void ShowTimedMessage(const std::string& message, const std::string& title, std::int32_t seconds) {
    IgnoringErrors([&](Statements& run) {
        frmMessage notice;
        run([&] { notice.Load(); });
        run([&] { notice.setWindowTitle(QString::fromStdString(title.empty() ? gAppTitle : title)); });
        run([&] { notice.Message(message); });
        run([&] { notice.Seconds(seconds); });
        run([&] { notice.Show(ShowMode::kModal); });
        run([&] { DoEvents(); });
        run([&] { notice.Unload(); });
        run([&] { DoEvents(); });
    });
}

std::uint16_t RegisterClipFormat(const std::string& name) { return RegisterClipboardFormat(name); }

}  // namespace pellago
