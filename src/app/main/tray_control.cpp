#include <utility>

#include "app/catcher/link_catcher.h"
#include "app/main/main_window.h"
#include "desktop/notify_icon.h"
#include "infra/guarded_routine.h"

namespace pellago {

frmSysTray* frmMain::Tray() const { return sys_tray_ && sys_tray_->IsLoaded() ? sys_tray_.get() : nullptr; }

void frmMain::CreateSysTrayIcon() {
    Guarded("Corvane.frmMain.CreateSysTrayIcon", [&](Statements& run) {
        frmSysTrayEvents& events = *this;
        run([&] { sys_tray_ = std::make_unique<frmSysTray>(events); });
        run([&] { sys_tray_->Load(); });
        run([&] { WithTray([&](auto& tray) { tray.IconHandle(icon_); }); });
        run([&] { WithTray([](auto& tray) { tray.ToolTip("Pellago"); }); });
        const auto add = [&](const char* caption, const char* key, bool is_default = false) {
            std::int32_t index = 0;
            run([&] { WithTray([&](auto& tray) { index = tray.AddMenuItem(caption, key, is_default); }); });
            return index;
        };
        add("Open Pellago", "open", true);
        menu_catcher_index_ = add("RSS Link Catcher", "rsscatcher");
        add("-", "");
        menu_start_index_ = add("Start downloading", "start");
        menu_stop_index_ = add("Stop downloading", "stop");
        add("-", "");
        menu_exit_index_ = add("Exit", "exit");
        run([&] { WithTray([&](auto& tray) { tray.EnableMenuItem(menu_stop_index_, false); }); });
        run([&] { WatchTray(); });
    });
}

void frmMain::SysTrayMouseDown(std::int32_t button) {
    constexpr std::int32_t kRight = 2;
    if (button == kRight) Try([&] { WithTray([](auto& tray) { tray.ShowMenu(); }); });
}

void frmMain::SysTrayDoubleClick(std::int32_t /*button*/) {
    Try([&] { ShowInFront(); });
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
            run([&] {
                WithTray([&](auto& tray) {
                    tray.IsMenuItemChecked(menu_catcher_index_) ? CloseLinkCatcher() : OpenLinkCatcher();
                });
            });
        }
    });
}

void frmMain::OpenLinkCatcher() {
    Guarded("Corvane.frmMain.OpenLinkCatcher", [&](Statements& run) {
        if (!link_catcher_)
            run([&] { link_catcher_ = std::make_unique<frmRSSLinkCatcher>([this] { CloseLinkCatcher(); }); });
        run([&] { link_catcher_->Load(); });
        run([&] { link_catcher_->Show(); });
        run([&] { link_catcher_->BringToTop(); });
        run([&] { WithTray([&](auto& tray) { tray.CheckMenuItem(menu_catcher_index_, true); }); });
    });
}

void frmMain::CloseLinkCatcher() {
    IgnoringErrors([&](Statements& run) {
        run([&] { WithTray([&](auto& tray) { tray.CheckMenuItem(menu_catcher_index_, false); }); });
        run([&] {
            if (link_catcher_) link_catcher_->Unload();
        });
    });
}

}  // namespace pellago
