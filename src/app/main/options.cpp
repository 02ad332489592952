#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>

#include "app/main/main_window.h"
#include "app/main/start_entry.h"
#include "app/shared/globals.h"
#include "desktop/event_handler.h"
#include "desktop/message_box.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "infra/setting_names.h"
#include "main_window_controls.h"
#include "platform/files/program.h"
#include "platform/system/process_priority.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr const char* kStartEntry = "Corvane";
constexpr std::int32_t kMillisecondsPerMinute = 60000;
/// More do not fit into the timer's 32-bit interval in milliseconds.
constexpr std::int32_t kLongestInterval = 35791;
constexpr std::int32_t kDefaultPriority = 5;

void LoadBox(QCheckBox& box, const char* name) {
    const auto value =
        CLng(gAppSettings->GetSetting(kSettingsSection, name, Variant(box.isChecked() ? 1 : 0)));
    if (value == 0 || value == 1) box.setChecked(value == 1);
}

void SaveBox(const QCheckBox& box, const char* name) {
    gAppSettings->SaveSetting(kSettingsSection, name, Variant(box.isChecked() ? 1 : 0));
}

std::string TextOf(const QLineEdit& box) { return box.text().toStdString(); }

/// Minutes between automatic runs; throws for a text that is no 32-bit number.
std::int32_t Interval(const QLineEdit& box) { return LongFromText(TextOf(box)); }

bool IsValid(const QLineEdit& box) {
    return Try([&] { return Interval(box) <= kLongestInterval; });
}

}  // namespace

void frmMain::LoadSettings() {
    IgnoringErrors([&](Statements& run) {
        const auto& c = *controls_;
        run([&] { LoadBox(*c.chkAutoStart, setting_name::kAutoStart); });
        run([&] { LoadBox(*c.chkAutoUpdate, setting_name::kAutoUpdate); });
        run([&] { c.chkStartInTray->setChecked(!gShowMainWindow); });
        run([&] {
            const auto number = gAppSettings->GetSetting(kSettingsSection, setting_name::kInterval,
                                                         Variant(TextOf(*c.txtNumber)));
            c.txtNumber->setText(QString::fromStdString(CStr(number)));
        });
        run([&] { LoadBox(*c.chkSilent, setting_name::kSilent); });
        run([&] { LoadBox(*c.chkShowChannelsErrors, setting_name::kChannelErrors); });
        run([&] {
            const auto stored = CLng(gAppSettings->GetSetting(
                kSettingsSection, setting_name::kProcessPriority, Variant(kDefaultPriority)));
            const bool known = stored >= 0 && stored < c.cbProcessPriority->count();
            c.cbProcessPriority->setCurrentIndex(known ? stored : -1);
        });
        run([&] { ApplyPriority(); });
    });
}

void frmMain::SaveSettings() {
    IgnoringErrors([&](Statements& run) {
        const auto& c = *controls_;
        run([&] { SaveBox(*c.chkAutoStart, setting_name::kAutoStart); });
        run([&] { SaveBox(*c.chkAutoUpdate, setting_name::kAutoUpdate); });
        run([&] { SaveBox(*c.chkStartInTray, setting_name::kStartInTray); });
        run([&] {
            gAppSettings->SaveSetting(kSettingsSection, setting_name::kInterval,
                                      Variant(TextOf(*c.txtNumber)));
        });
        run([&] { SaveBox(*c.chkSilent, setting_name::kSilent); });
        run([&] { SaveBox(*c.chkShowChannelsErrors, setting_name::kChannelErrors); });
        run([&] {
            gAppSettings->SaveSetting(kSettingsSection, setting_name::kProcessPriority,
                                      Variant(std::int32_t{c.cbProcessPriority->currentIndex()}));
        });
        run([&] { ApplyPriority(); });
        run([&] {
            const auto mode = c.chkAutoStart->isChecked() ? StartEntryMode::kAlways : StartEntryMode::kDelete;
            RunAtStartUp(mode, kStartEntry, '"' + ProgramPath() + "\" /background");
        });
    });
}

// Without a selection the priority stays; so it does where the system refuses the class.
void frmMain::ApplyPriority() {
    const auto priority = controls_->cbProcessPriority->currentData();
    if (priority.isValid()) SetPriorityClass(priority.toUInt());
}

void frmMain::StartUpdateTimer() {
    if (!IsLoaded() || !controls_->chkAutoUpdate->isChecked()) return;
    if (!IsValid(*controls_->txtNumber)) return;
    const auto minutes = Interval(*controls_->txtNumber);
    if (minutes < 1) return;
    pending_message_ = 0;
    StartTimer(minutes * kMillisecondsPerMinute);
}

// A click takes the focus from the number first; the click arrives although the number has got the focus
// back.
void frmMain::btnApply_Click() {
    Guarded("Corvane.frmMain.btnApply_Click", [&](Statements& run) {
        bool cancel = false;
        run([&] { txtNumber_Validate(cancel); });
        if (cancel) return;
        run([&] { SaveSettings(); });
        run([&] { StartUpdateTimer(); });
    });
}

void frmMain::txtNumber_Validate(bool& cancel) {
    cancel = !IsValid(*controls_->txtNumber);
    if (!cancel) return;
    MessageBeep();
    // Later: the focus may still be on its way to the next control, or to a control of another page.
    QMetaObject::invokeMethod(
        this, [this] { FocusNumber(); }, Qt::QueuedConnection);
}

bool frmMain::eventFilter(QObject* watched, QEvent* event) {
    if (watched != controls_->txtNumber) return Form::eventFilter(watched, event);
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->matches(QKeySequence::InsertParagraphSeparator)) {
        controls_->btnApply->click();
        return true;
    }
    if (event->type() != QEvent::FocusOut) return false;
    // Another window, or the number's own menu, takes the focus only for a while.
    const auto reason = static_cast<QFocusEvent*>(event)->reason();
    if (reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason || !isVisible()) return false;
    RunHandler([this] {
        bool cancel = false;
        txtNumber_Validate(cancel);
    });
    return false;
}

void frmMain::FocusNumber() {
    controls_->tabUpdate->setCurrentWidget(controls_->elaOptions);
    controls_->txtNumber->setFocus();
}

}  // namespace pellago
