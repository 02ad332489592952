#include <QLocale>

#include "app/main/main_window.h"
#include "desktop/progress_display.h"
#include "infra/app_settings.h"
#include "infra/guarded_routine.h"
#include "infra/setting_names.h"
#include "main_window_controls.h"
#include "platform/loop/thread_timer.h"
#include "platform/values/text.h"
#include "platform/windows/named_mutex.h"
#include "platform/windows/window_messages.h"

// What the main window shows of a run, and tells the sibling product.
namespace pellago {
namespace {

std::string Percent(double share) { return QLocale::system().toString(share, 'f', 0).toStdString() + " %"; }

void ShowStep(ProgressDisplay& display, const char* kind, const std::string& name, std::int32_t index,
              std::int32_t count) {
    IgnoringErrors([&](Statements& run) {
        run([&] {
            display.Line(kind + name + " (" + std::to_string(index) + "/" + std::to_string(count) + ")");
        });
        run([&] {
            // With a count of 0 there is no share (LongFromDouble throws): the bar stays as it was.
            const auto share = static_cast<double>(index) / count * 100;
            display.Progress(LongFromDouble(share), Percent(share));
        });
    });
}

/// SendMessage waits so long for an answer.
constexpr std::uint32_t kHangsMs = 5000;

/// The sibling product reads the same database.
bool SiblingRuns() { return NamedMutex("QZL_MUTEX").AlreadyExisted(); }

std::int32_t SiblingWindow() {
    CAppSettings settings;
    settings.Init("Quenlith", "Lumaret");
    return CLng(settings.GetSetting(kSettingsSection, setting_name::kWindow, Variant(0)));
}

}  // namespace

void frmMain::OnStatusText(const std::string& text) {
    Try([&] { item_->Line(text); });
}

void frmMain::OnItemProgress(std::int32_t percent) {
    Try([&] { item_->Progress(percent, std::to_string(percent) + " %"); });
}

void frmMain::OnProvider(const std::string& name, std::int32_t index, std::int32_t count) {
    ShowStep(*provider_, "Provider: ", name, index, count);
}

void frmMain::OnChannel(const std::string& name, std::int32_t index, std::int32_t count) {
    ShowStep(*channel_, "Channel: ", name, index, count);
}

void frmMain::OnChannelError(const std::string& feed_url, std::int32_t channel_id,
                             const std::string& channel_name, const std::string& error_text) {
    if (!channel_error_list_) return;
    const auto field = [](const std::string& text) { return Replace(text, "\t", " "); };
    channel_error_list_->push_back(field(feed_url) + '\t' + std::to_string(channel_id) + '\t' +
                                   field(channel_name) + '\t' + field(error_text));
}

void frmMain::OnChannelDone(const Variant& /*name*/, std::int32_t channel_id) {
    IgnoringErrors([&](Statements& run) {
        if (sibling_hangs_ || !run([] { return SiblingRuns(); })) return;
        const auto window = run([] { return SiblingWindow(); });
        if (window == 0) return;
        const auto sent = GetTickCount();
        run([&] { SendMessage(window, WM_CMD_UPDATE_CHANNEL, channel_id, 0); });
        // A sibling that does not answer would hold up every channel of the run for as long.
        sibling_hangs_ = GetTickCount() - sent >= kHangsMs;
    });
}

}  // namespace pellago
