#include <utility>

#include "app/link_catcher.h"
#include "app/main_window.h"
#include "desktop/notify_icon.h"
#include "infra/guarded_routine.h"

namespace pellago {

void frmMain::CreateSysTrayIcon() {
    Guarded("Corvane.frmMain.CreateSysTrayIcon", [&](Statements& run) {
        frmSysTrayEvents& events = *this;
        run([&] { sys_tray_ = std::make_unique<frmSysTray>(events); });
        run([&] { sys_tray_->Load(); });
        run([&] { sys_tray_->IconHandle(icon_); });
        run([&] { sys_tray_->ToolTip("Pellago"); });
        run([&] { sys_tray_->AddMenuItem("Open Pellago", "open", true); });
        run([&] { menu_catcher_index_ = sys_tray_->AddMenuItem("RSS Link Catcher", "rsscatcher", false); });
        run([&] { sys_tray_->AddMenuItem("-", "", false); });
        run([&] { menu_start_index_ = sys_tray_->AddMenuItem("Start downloading", "start", false); });
        run([&] { menu_stop_index_ = sys_tray_->AddMenuItem("Stop downloading", "stop", false); });
        run([&] { sys_tray_->AddMenuItem("-", "", false); });
        run([&] { menu_exit_index_ = sys_tray_->AddMenuItem("Exit", "exit", false); });
        run([&] { sys_tray_->EnableMenuItem(menu_stop_index_, false); });
        run([&] { OnNotificationAreaChange([this] { OnTrayChange(); }); });
    });
}

void frmMain::SysTrayMouseDown(std::int32_t button) {
    constexpr std::int32_t kRight = 2;
    IgnoringErrors([&](Statements& run) {
        if (button == kRight) run([&] { sys_tray_->ShowMenu(); });
    });
}

void frmMain::SysTrayDoubleClick(std::int32_t /*button*/) {
    IgnoringErrors([&](Statements& run) { run([&] { ShowInFront(); }); });
}

void frmMain::BalloonClicked() {
    if (std::exchange(handling_balloon_, true)) return;
    IgnoringErrors([&](Statements& run) {
        run([&] { ShowInFront(); });
        if (channel_error_list_ && !channel_error_list_->empty()) run([&] { ShowChannelErrors(); });
    });
    handling_balloon_ = false;
}

void frmMain::MenuClick(std::int32_t /*index*/, const std::string& key) {
    IgnoringErrors([&](Statements& run) {
        if (key == "open") {
            run([&] { ShowInFront(); });
        } else if (key == "start") {
            run([&] { StartUpdate(update_mode::kAll, 0); });
        } else if (key == "stop") {
            run([&] { StopUpdate(); });
        } else if (key == "exit") {
            run([&] {
                if (AskWhetherToClose()) Unload();
            });
        } else if (key == "rsscatcher") {
            const bool open = run([&] { return sys_tray_->IsMenuItemChecked(menu_catcher_index_); });
            run([&] { open ? CloseLinkCatcher() : OpenLinkCatcher(); });
        }
    });
}

void frmMain::OpenLinkCatcher() {
    Guarded("Corvane.frmMain.OpenLinkCatcher", [&](Statements& run) {
        run([&] { link_catcher_ = std::make_unique<frmRSSLinkCatcher>([this] { CloseLinkCatcher(); }); });
        run([&] { link_catcher_->Load(); });
        run([&] { link_catcher_->Show(); });
        run([&] { sys_tray_->CheckMenuItem(menu_catcher_index_, true); });
    });
}

void frmMain::CloseLinkCatcher() {
    IgnoringErrors([&](Statements& run) {
        run([&] {
            if (sys_tray_) sys_tray_->CheckMenuItem(menu_catcher_index_, false);
        });
        run([&] {
            if (link_catcher_) link_catcher_->Unload();
        });
        run([&] { link_catcher_.reset(); });
    });
}

}  // namespace pellago
