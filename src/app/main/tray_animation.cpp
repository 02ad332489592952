#include "app/main/main_window.h"
#include "desktop/progress_display.h"
#include "infra/guarded_routine.h"
#include "main_window_controls.h"

// The icon in the tray while a run is in progress.
namespace pellago {

void frmMain::OnTimer(std::int32_t /*seconds*/) {
    IgnoringErrors([&](Statements& run) {
        if (!Tray()) return;
        const auto& frames = controls_->picTrayIcons;
        if (frame_ == frames.size()) frame_ = 0;
        run([&] { WithTray([&](auto& tray) { tray.IconHandle(frames.at(frame_)); }); });
        run([&] { WithTray([&](auto& tray) { tray.ToolTip("Downloading: " + provider_->Caption()); }); });
        ++frame_;
    });
}

}  // namespace pellago
