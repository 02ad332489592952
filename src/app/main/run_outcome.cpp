#include <QCheckBox>
#include <utility>

#include "app/errors/channel_errors.h"
#include "app/main/main_window.h"
#include "app/shared/globals.h"
#include "desktop/message_box.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "main_window_controls.h"

// How a run ended, as the main window tells it: by a balloon, a timed message, or the list of channel errors.
namespace pellago {
namespace {

constexpr const char* kTitle = "Pellago";
constexpr std::uint32_t kBalloonMs = 5000;
constexpr std::int32_t kNoticeSeconds = 10;

}  // namespace

std::string frmMain::WithTime(const char* what) { return std::string(what) + " at " + DefaultText(Now()); }

void frmMain::TellNoConnection() {
    IgnoringErrors([&](Statements& run) {
        const auto* text = "Sorry, the Internet connection is not available!";
        if (controls_->chkSilent->isChecked()) {
            if (!isVisible() && Tray())
                run([&] { ShowBalloon(text, NIIF_INFO); });
            else
                run([&] { ShowTimedMessage(text, gAppTitle, kNoticeSeconds); });
        }
        run([&] { ResetProgress("Error: the Internet connection is not available"); });
    });
}

void frmMain::TellOutcome() {
    if (isVisible()) {
        if (!channel_error_list_)
            ShowTimedMessage(WithTime("News downloading done"), kTitle, kNoticeSeconds);
        else if (!channel_error_list_->empty())
            ShowChannelErrors();
    } else if (GivesBalloons()) {
        if (channel_error_list_ && !channel_error_list_->empty() &&
            controls_->chkShowChannelsErrors->isChecked())
            ShowBalloon("News downloading done with errors", NIIF_ERROR);
        else
            ShowBalloon("News downloading done", NIIF_INFO);
    }
}

bool frmMain::GivesBalloons() const { return !isVisible() && !controls_->chkSilent->isChecked(); }

void frmMain::ShowBalloon(const std::string& text, std::uint32_t kind) {
    WithTray([&](auto& tray) { tray.ShowBalloonTip(text, kTitle, kind, kBalloonMs); });
}

// The list is taken away first: a click on the balloon must not bring up the dialog a second time.
void frmMain::ShowChannelErrors() {
    IgnoringErrors([&](Statements& run) {
        const auto list = std::exchange(channel_error_list_, std::nullopt);
        if (!list || list->empty() || !controls_->chkShowChannelsErrors->isChecked()) return;
        frmChannelErrors dialog;
        run([&] { dialog.Load(); });
        run([&] { dialog.FillChannels(*list); });
        run([&] { dialog.SupportMail(gErrorHandler->SupportMail()); });
        run([&] { dialog.BringToTop(); });
        run([&] { MessageBeep(); });
        run([&] { dialog.Show(ShowMode::kModal); });
        run([&] { dialog.Unload(); });
    });
}

}  // namespace pellago
