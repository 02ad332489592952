#include "app/main/main_window.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTabWidget>
#include <array>
#include <utility>

#include "app/catcher/link_catcher.h"
#include "app/shared/globals.h"
#include "desktop/event_handler.h"
#include "desktop/icons.h"
#include "desktop/notify_icon.h"
#include "desktop/progress_display.h"
#include "desktop/theme.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "main_window_controls.h"
#include "platform/files/program.h"
#include "platform/system/message_box.h"
#include "platform/system/process_priority.h"

namespace pellago {
namespace {

constexpr int kTrayWaitMs = 3000;

constexpr std::array kHooked{WM_CMD_UPDATE_ALL, WM_CMD_UPDATE_PROVIDER, WM_CMD_UPDATE_CHANNEL, WM_CMD_SHOW,
                             WM_CMD_CLOSE,      WM_CMD_CLOSE_IF_IDLE,   WM_CMD_RESET_TIMER};

constexpr std::array<std::pair<const char*, std::uint32_t>, 6> kPriorities = {
    {{"Realtime", priority_class::kRealtime},
     {"High", priority_class::kHigh},
     {"Above normal", priority_class::kAboveNormal},
     {"Normal", priority_class::kNormal},
     {"Below normal", priority_class::kBelowNormal},
     {"Low (default)", priority_class::kIdle}}};

}  // namespace

frmMain::frmMain(std::function<void()> gone)
    : Form("frmMain", BorderStyle::kFixedSingle),
      gone_(std::move(gone)),
      icon_(LoadIcon("pellago")),
      controls_(std::make_unique<MainWindowControls>(*this)),
      pace_(std::make_unique<DisplayPace>([this] {
          for (auto* display : {provider_.get(), channel_.get(), item_.get()}) display->Show();
      })),
      provider_(std::make_unique<ProgressDisplay>(*controls_->elaProviderStatusCaption,
                                                  *controls_->elaProviderStatusProgress, *pace_)),
      channel_(std::make_unique<ProgressDisplay>(*controls_->elaChannelStatusCaption,
                                                 *controls_->elaChannelStatusProgress, *pace_)),
      item_(std::make_unique<ProgressDisplay>(*controls_->elaItemCaption, *controls_->elaItemProgress,
                                              *pace_)) {
    setWindowTitle(QStringLiteral("Pellago"));
    ResetProgress("Download:");
    ConnectControls();
    tray_wait_.setSingleShot(true);
    tray_wait_.setInterval(kTrayWaitMs);
    connect(&tray_wait_, &QTimer::timeout, this, [this] { RunHandler([this] { ShowUnlessInTray(); }); });
}

frmMain::~frmMain() { OnNotificationAreaChange(nullptr); }

void frmMain::ConnectControls() {
    OnClick(controls_->cmdUpdate, [this] { cmdUpdate_Click(); });
    OnClick(controls_->cmdStop, [this] { cmdStop_Click(); });
    OnClick(controls_->cmdLog, [this] { cmdLog_Click(); });
    OnClick(controls_->btnHide, [this] { btnHide_Click(); });
    OnClick(controls_->btnApply, [this] { btnApply_Click(); });
    controls_->txtNumber->installEventFilter(this);
}

void frmMain::Form_Load() {
    IgnoringErrors([&](Statements& run) {
        run([&] { SetThemeBackColor(); });
        run([&] { ColorControls(); });
        run([&] { controls_->cbProcessPriority->clear(); });
        for (const auto& entry : kPriorities)
            run([&] { controls_->cbProcessPriority->addItem(QLatin1String(entry.first), entry.second); });
        // Adding entries selects the first, which nobody chose; a stored value that is invalid would leave it
        // so.
        run([&] { controls_->cbProcessPriority->setCurrentIndex(-1); });
        run([&] { controls_->lblProductName->setText(QStringLiteral("Pellago")); });
        run([&] {
            controls_->lblVersion->setText(QString::fromStdString("Version " + ProgramVersionText()));
        });
        run([&] { controls_->lblDescription->setText(QString::fromStdString(ProgramDescription())); });
        run([&] { controls_->tabUpdate->setCurrentIndex(0); });
        run([&] { LoadSettings(); });
        run([&] { StartUpdateTimer(); });
        run([&] { HookMessages(); });
    });
}

void frmMain::ColorControls() {
    const auto& c = *controls_;
    for (QWidget* control :
         {static_cast<QWidget*>(c.fraChannels), static_cast<QWidget*>(c.fraItem),
          static_cast<QWidget*>(c.fraProviders), c.elaOptions, static_cast<QWidget*>(c.chkAutoStart),
          static_cast<QWidget*>(c.chkStartInTray), static_cast<QWidget*>(c.chkAutoUpdate),
          static_cast<QWidget*>(c.chkSilent), static_cast<QWidget*>(c.chkShowChannelsErrors),
          static_cast<QWidget*>(c.cbProcessPriority), static_cast<QWidget*>(c.lblProcessPriority)})
        SetBackColor(*control, gThemeBackColor);
    // Pages of another colour would show the frames as boxes.
    for (int page = 0; page < c.tabUpdate->count(); ++page)
        SetBackColor(*c.tabUpdate->widget(page), gThemeBackColor);
}

void frmMain::HookMessages() {
    subclasser_ = std::make_unique<cSubclass>();
    subclasser_->Subclass(hWnd(), *this);
    for (const auto message : kHooked) subclasser_->AddMsg(message, show_message::kBefore);
}

void frmMain::UnhookMessages() {
    if (!subclasser_) return;
    for (const auto message : kHooked) subclasser_->DelMsg(message, show_message::kBefore);
    subclasser_->UnSubclass();
    subclasser_.reset();
}

void frmMain::Form_Resize() {
    if (WindowState() == FormWindowState::kMinimized) Try([&] { HideOrMinimize(); });
}

void frmMain::Form_QueryUnload(bool& cancel, UnloadMode reason) {
    if (reason != UnloadMode::kFormControlMenu) return;
    if (!dbu_) {
        cancel = !AskWhetherToClose();
        return;
    }
    ShowMessageBox({"Please, stop downloading process before quiting this application!", gAppTitle,
                    MessageBoxButtons::kOk, MessageBoxIcon::kInformation});
    cancel = true;
}

// The tray's menu can be used while the question is asked: its "Exit" must not ask a second time.
bool frmMain::AskWhetherToClose() {
    if (std::exchange(asking_, true)) return false;
    const auto answer = ShowMessageBox({"Are you sure to close Pellago utility?", gAppTitle,
                                        MessageBoxButtons::kYesNo, MessageBoxIcon::kQuestion});
    asking_ = false;
    return answer == MessageBoxAnswer::kYes;
}

void frmMain::Form_Unload() {
    IgnoringErrors([&](Statements& run) {
        run([&] { StopUpdate(); });
        run([&] { CloseLinkCatcher(); });
        run([&] { tray_wait_.stop(); });
        run([&] { OnNotificationAreaChange(nullptr); });
        run([&] { WithTray([](auto& tray) { tray.Unload(); }); });
        run([&] { UnhookMessages(); });
        run([&] { update_timer_.reset(); });
        run([&] { ReleaseAppMutex(); });
        run([&] { gone_(); });
    });
}

void frmMain::ShowInFront() {
    WindowState(FormWindowState::kNormal);
    Show();
    BringToTop();
}

void frmMain::btnHide_Click() {
    Try([&] { HideOrMinimize(); });
}

// A window hidden without an icon in a tray could not be found again.
void frmMain::HideOrMinimize() {
    if (Tray() && NotificationAreaAvailable())
        Hide();
    else if (WindowState() != FormWindowState::kMinimized)
        WindowState(FormWindowState::kMinimized);
}

void frmMain::StartHidden() {
    // The person may have opened the window in the middle of the run that the start asked for.
    if (isVisible()) return;
    WindowState(FormWindowState::kMinimized);
}

void frmMain::WatchTray() {
    if (!IsLoaded()) return;
    OnNotificationAreaChange([this] { OnTrayChange(); });
    // The desktop's panel may be started after this program.
    if (!NotificationAreaAvailable()) tray_wait_.start();
}

void frmMain::OnTrayChange() {
    if (!NotificationAreaAvailable())
        tray_wait_.start();
    else if (isVisible() && WindowState() == FormWindowState::kMinimized)
        Hide();
}

void frmMain::ShowUnlessInTray() {
    if (!IsLoaded() || isVisible() || NotificationAreaAvailable()) return;
    WindowState(FormWindowState::kMinimized);
    Show();
}

}  // namespace pellago
