#include "app/start/start_up.h"

#include <algorithm>
#include <initializer_list>
#include <iostream>

#include "app/catcher/channel_subscriber.h"
#include "app/catcher/link_handler.h"
#include "app/errors/error_message.h"
#include "app/main/main_window.h"
#include "app/shared/globals.h"
#include "app/start/switches.h"
#include "desktop/application.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "infra/setting_names.h"
#include "platform/files/program.h"
#include "platform/loop/long_wait.h"
#include "platform/loop/termination_signal.h"
#include "platform/values/text.h"
#include "platform/windows/window_messages.h"

namespace pellago {
namespace {

bool Names(const std::vector<std::string>& arguments, const std::string& name) {
    return std::any_of(arguments.begin(), arguments.end(), [&](const auto& argument) {
        return EqualNoCase(argument, "--" + name) || EqualNoCase(argument, '/' + name);
    });
}

struct Message {
    std::int32_t number;
    std::int32_t param;
};

/// Sends messages to the instance that runs already, if its window is known from the settings.
void Forward(std::initializer_list<Message> messages) {
    const auto window = CLng(gAppSettings->GetSetting(kSettingsSection, setting_name::kWindow, Variant(0)));
    if (window <= 0) return;
    for (const auto& message : messages) SendMessage(window, message.number, message.param, 0);
}

void EndApplication(frmMain& window) {
    ReleaseAppMutex();
    window.Unload();
}

/// Forwards what the command line asks for to the instance that runs already.
void ForwardRequest() {
    const Message show{WM_CMD_SHOW, 0};
    if (gUpdateRequested && gShowMainWindow)
        Forward({show, {WM_CMD_UPDATE_ALL, 0}});
    else if (gUpdateRequested)
        Forward({{WM_CMD_UPDATE_ALL, 0}});
    else if (gProviderID > 0)
        Forward({{WM_CMD_UPDATE_PROVIDER, gProviderID}});
    else if (gChannelID > 0)
        Forward({{WM_CMD_UPDATE_CHANNEL, gChannelID}});
    else if (gShowMainWindow)
        Forward({show});
}

void StoreWindow(const frmMain& window) {
    gAppSettings->SaveSetting(kSettingsSection, setting_name::kWindow, Variant(window.hWnd()));
}

void StartRequestedRun(frmMain& window) {
    if (!gUpdateRequested && gProviderID <= 0 && gChannelID <= 0) return;
    // Other starts must find the window in the middle of the run. That its handle cannot be stored is told
    // afterwards.
    Try([&] { StoreWindow(window); });
    if (gUpdateRequested)
        window.StartUpdate(update_mode::kAll, 0);
    else if (gProviderID > 0)
        window.StartUpdate(update_mode::kProvider, gProviderID);
    else if (gChannelID > 0)
        window.StartUpdate(update_mode::kChannel, gChannelID);
}

bool IsEnding(const frmMain& window) { return TerminationSignalled() || !window.IsLoaded(); }

void ProcessParameters(frmMain& window) {
    Guarded("Corvane.mGlobals.ProcessParameters", [&](Statements& run) {
        if (gAlreadyRunning) {
            run([&] { ForwardRequest(); });
            return;
        }
        run([&] { StartRequestedRun(window); });
        // The window may have been closed in the middle of the run, or be about to be.
        if (IsEnding(window)) return;
        if (gShowMainWindow)
            run([&] { window.Show(); });
        else
            run([&] { window.StartHidden(); });
        run([&] { StoreWindow(window); });
    });
    // Also after an abort: a second instance that stayed would have no icon, and still update by itself.
    if (gAlreadyRunning) EndApplication(window);
}

/// The program's end cuts short what waits for a lock; nobody is there to read of that.
std::int32_t ShowErrorUnlessEnding(const frmMain& window, const std::string& report,
                                   const std::string& support_mail) {
    constexpr std::int32_t kAbort = 0;
    return IsEnding(window) ? kAbort : ShowErrorMessage(report, support_mail);
}

/// What can be done while another program keeps this one waiting.
bool GoOnWaiting(frmMain& window) {
    ServeMessages();
    if (window.isVisible()) window.repaint();
    return window.IsLoaded();
}

/// The program from its first window to its last; returns its exit status.
int RunWindows() {
    const Application application;
    frmMain window([] { Application::Quit(); });
    UseErrorDialog([&](const std::string& report, const std::string& support_mail) {
        return ShowErrorUnlessEnding(window, report, support_mail);
    });
    OnLongWait([&] { return GoOnWaiting(window); });
    const OnTerminationSignal signals([&](int) { window.Unload(); });
    Application::OnSessionEnd([&] { window.Unload(UnloadMode::kAppWindows); });
    RegisterLinkHandler(kLinkHandlerClass,
                        [] { return std::make_unique<ChannelSubscriber>(DataEnvironment()); });
    window.Load();
    gAlreadyRunning = IsAlreadyRunning();
    if (!gAlreadyRunning) window.CreateSysTrayIcon();
    ProcessParameters(window);
    const int status = Application::Run();
    window.Unload();
    Application::OnSessionEnd(nullptr);
    OnLongWait(nullptr);
    CloseDataEnvironment();
    UseErrorDialog(nullptr);
    return status;
}

}  // namespace

int Main(const std::vector<std::string>& arguments) {
    if (Names(arguments, "help")) {
        std::cout << kUsage;
        return 0;
    }
    if (Names(arguments, "version")) {
        std::cout << "pellagod " << ProgramVersionText() << '\n';
        return 0;
    }
    CreateProcessObjects();
    IgnoringErrors([&](Statements& run) {
        gShowMainWindow = true;
        run([&] {
            gShowMainWindow =
                CLng(gAppSettings->GetSetting(kSettingsSection, setting_name::kStartInTray, Variant(0))) != 1;
        });
        run([&] { ReadSwitches(arguments); });
        if (gCloseRequested) run([&] { Forward({{WM_CMD_CLOSE, 0}}); });
    });
    return gCloseRequested ? 0 : RunWindows();
}

}  // namespace pellago
