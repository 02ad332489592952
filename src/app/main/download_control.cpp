#include <QCheckBox>
#include <utility>

#include "app/log/log_viewer.h"
#include "app/main/main_window.h"
#include "app/shared/globals.h"
#include "desktop/progress_display.h"
#include "engine/update_run.h"
#include "infra/guarded_routine.h"
#include "infra/internet_connection.h"
#include "infra/process_objects.h"
#include "main_window_controls.h"
#include "platform/files/program.h"
#include "store/hand_over.h"

namespace pellago {
namespace {

constexpr const char* kTitle = "Pellago";
constexpr const char* kNothingDone = "0 %";

}  // namespace

void frmMain::StartUpdate(std::int32_t mode, std::int32_t id) {
    // A run that began inside the question whether to close would keep the answer from being heard.
    if (dbu_ || asking_ || !IsLoaded()) return;
    if (!Tray()) CreateSysTrayIcon();
    if (!IsInternetConnected()) return TellNoConnection();
    ShowRunning();
    // Errors so far were shown, and anything may have happened while they were.
    if (dbu_ || !IsLoaded()) return;
    sibling_hangs_ = false;
    IgnoringErrors([&](Statements& run) {
        run([&] { RunUpdate(mode, id); });
        // Also where the run was aborted in its middle: no other run could ever be started.
        run([&] { dbu_.reset(); });
        run([&] { ShowIdle(); });
        // The program may now wait for hours, with what the largest feed took.
        run([] { ReturnFreeMemory(); });
    });
}

void frmMain::StopUpdate() {
    if (dbu_) dbu_->Cancel(true);
}

void frmMain::RunUpdate(std::int32_t mode, std::int32_t id) {
    Guarded("Corvane.frmMain.StartUpdate", [&](Statements& run) {
        CDBUpdateEvents& events = *this;
        run([&] { dbu_ = std::make_unique<CDBUpdate>(events); });
        if (!dbu_) return;
        run([&] { channel_error_list_.emplace(); });
        run([&] { InitDBObjects(*dbu_); });
        run([&] { RunEngine(mode, id); });
        run([&] { ShowIdle(); });
        if (dbu_->Cancel()) {
            run([&] { ResetProgress(WithTime("Downloading canceled")); });
            if (GivesBalloons()) run([&] { ShowBalloon("News download canceled", NIIF_WARNING); });
        } else {
            run([&] { ResetProgress(WithTime("Downloading done")); });
            run([&] { TellOutcome(); });
        }
    });
}

void frmMain::InitDBObjects(CDBUpdate& engine) {
    Guarded("Corvane.frmMain.InitDBObjects",
            [&](Statements& run) { HandOver(run, engine, DataEnvironment()); });
}

void frmMain::RunEngine(std::int32_t mode, std::int32_t id) {
    // Stopped while an error of the database was shown: the engine would begin by forgetting the stop.
    if (dbu_->Cancel()) return;
    dbu_->OnlyActive(mode == update_mode::kAll);
    if (mode == update_mode::kAll)
        dbu_->Update();
    else if (mode == update_mode::kProvider)
        dbu_->UpdateOnlyOneProvider(id);
    else if (mode == update_mode::kChannel)
        dbu_->UpdateOnlyOneChannel(id);
}

bool frmMain::IsInternetConnected() const {
    return Try([] { return CInternetConnection().Connected(); });
}

void frmMain::ShowRunning() {
    shows_running_ = true;
    IgnoringErrors([&](Statements& run) {
        run([&] { WithTray([&](auto& tray) { tray.EnableMenuItem(menu_start_index_, false); }); });
        run([&] { WithTray([&](auto& tray) { tray.EnableMenuItem(menu_exit_index_, false); }); });
        run([&] { WithTray([&](auto& tray) { tray.EnableMenuItem(menu_stop_index_, true); }); });
        if (GivesBalloons()) run([&] { ShowBalloon("News downloading started", NIIF_INFO); });
    });
}

void frmMain::ShowIdle() {
    if (!std::exchange(shows_running_, false)) return;
    WithTray([&](auto& tray) { tray.IconHandle(icon_); });
    WithTray([&](auto& tray) { tray.ToolTip(kTitle); });
    WithTray([&](auto& tray) { tray.EnableMenuItem(menu_start_index_, true); });
    WithTray([&](auto& tray) { tray.EnableMenuItem(menu_exit_index_, true); });
    WithTray([&](auto& tray) { tray.EnableMenuItem(menu_stop_index_, false); });
}

void frmMain::ResetProgress(const std::string& text) {
    provider_->Line("Provider:");
    channel_->Line("Channel:");
    if (!text.empty()) item_->Line(text);
    for (auto* display : {provider_.get(), channel_.get(), item_.get()}) display->Progress(0, kNothingDone);
    pace_->Flush();
}

void frmMain::cmdUpdate_Click() {
    Guarded("Corvane.frmMain.cmdUpdate_Click", [&](Statements& run) {
        if (dbu_) return;
        run([&] { update_timer_.reset(); });
        run([&] { StartUpdate(update_mode::kAll, 0); });
        run([&] { StartUpdateTimer(); });
    });
}

void frmMain::cmdStop_Click() { StopUpdate(); }

void frmMain::cmdLog_Click() {
    Guarded("Corvane.frmMain.cmdLog_Click", [&](Statements& run) {
        if (channel_error_list_ && !channel_error_list_->empty()) {
            run([&] { ShowChannelErrors(); });
            return;
        }
        frmLog log;
        run([&] { log.Load(); });
        run([&] { log.Show(ShowMode::kModal); });
        run([&] { log.Unload(); });
    });
}

}  // namespace pellago
