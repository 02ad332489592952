#include "tray_icon.h"

#include <QGuiApplication>
#include <QMenu>
#include <QStyleHints>
#include <QTextDocument>

#include "desktop/icons.h"
#include "platform/windows/window_messages.h"
#include "tray_host.h"

namespace pellago {
namespace {

QSystemTrayIcon::MessageIcon MessageIcon(std::uint32_t kind) {
    switch (kind) {
        case NIIF_INFO:
            return QSystemTrayIcon::Information;
        case NIIF_WARNING:
            return QSystemTrayIcon::Warning;
        case NIIF_ERROR:
            return QSystemTrayIcon::Critical;
        default:
            return QSystemTrayIcon::NoIcon;
    }
}

}  // namespace

TrayIcon::TrayIcon(std::int32_t hwnd, std::int32_t id, const TrayHost* host)
    : hwnd_(hwnd), id_(id), host_(host) {
    if (host_)
        balloon_ = std::make_unique<Balloon>(
            [this](std::int32_t code) { Tell({code}); },
            [this](const Balloon::Content& content) { return ShowMessage(content); });
}

TrayIcon::~TrayIcon() = default;

void TrayIcon::Apply(const NotificationRecord& record) {
    if (record.flags & NIF_MESSAGE) callback_message_ = record.callback_message;
    if (record.flags & NIF_ICON) {
        icon_ = record.icon;
        UpdateIcon();
    }
    if (record.flags & NIF_TIP) {
        tip_ = QString::fromStdString(record.tip);
        UpdateTip();
    }
    if (record.flags & NIF_STATE && record.state_mask & NIS_HIDDEN) {
        hidden_ = record.state & NIS_HIDDEN;
        if (tray_) tray_->setVisible(!hidden_);
    }
    if (record.flags & NIF_INFO && balloon_)
        balloon_->Set({QString::fromStdString(record.info_title), QString::fromStdString(record.info),
                       record.info_flags, record.timeout_or_version});
    ShowLater();
}

// A host reads which menu an icon has when it first sees the icon, and Qt never takes a menu away from one.
void TrayIcon::SetMenu(QMenu* menu) {
    if (menu == menu_) return;
    if (menu_) disconnect(menu_, nullptr, this, nullptr);
    menu_ = menu;
    if (menu_) connect(menu_, &QObject::destroyed, this, &TrayIcon::Rebuild);
    Rebuild();
}

void TrayIcon::Rebuild() {
    tray_.reset();
    ShowLater();
}

void TrayIcon::ShowLater() {
    if (host_ && !tray_) QMetaObject::invokeMethod(this, &TrayIcon::Show, Qt::QueuedConnection);
}

void TrayIcon::Show() {
    if (tray_ || !host_->Found()) return;
    tray_ = std::make_unique<QSystemTrayIcon>();
    connect(tray_.get(), &QSystemTrayIcon::activated, this, &TrayIcon::OnActivated);
    connect(tray_.get(), &QSystemTrayIcon::messageClicked, balloon_.get(), &Balloon::ClickInTray);
    tray_->setContextMenu(menu_);
    UpdateIcon();
    UpdateTip();
    tray_->setVisible(!hidden_);
}

void TrayIcon::UpdateIcon() {
    if (!tray_) return;
    const auto icon = TrayIconFromHandle(icon_);
    // An icon without a picture could not be found by anybody.
    tray_->setIcon(icon.isNull() ? IconFromHandle(LoadIcon("pellago")) : icon);
}

void TrayIcon::UpdateTip() {
    if (!tray_) return;
    // Qt's own tool tips take what looks like markup for markup; a host on the bus takes the title as it is.
    const bool escape = host_->SpeaksXembed() && Qt::mightBeRichText(tip_);
    tray_->setToolTip(escape ? Qt::convertFromPlainText(tip_, Qt::WhiteSpaceNormal) : tip_);
}

void TrayIcon::OnActivated(QSystemTrayIcon::ActivationReason reason) {
    const auto is_double_click = [this] {
        const auto interval = QGuiApplication::styleHints()->mouseDoubleClickInterval();
        return last_trigger_.isValid() && !last_trigger_.hasExpired(interval);
    };
    switch (reason) {
        case QSystemTrayIcon::Trigger:
            // Over the bus a double click comes as two clicks.
            if (!is_double_click()) {
                last_trigger_.start();
                return Tell({WM_LBUTTONDOWN, WM_LBUTTONUP});
            }
            [[fallthrough]];
        case QSystemTrayIcon::DoubleClick:
            last_trigger_.invalidate();
            return Tell({WM_LBUTTONDBLCLK, WM_LBUTTONUP});
        case QSystemTrayIcon::Context:
            if (!menu_) Tell({WM_RBUTTONDOWN, WM_RBUTTONUP});
            return;
        default:
            return;
    }
}

bool TrayIcon::ShowMessage(const Balloon::Content& content) {
    if (!tray_ || hidden_) return false;
    tray_->showMessage(content.title, content.text, MessageIcon(content.kind),
                       static_cast<int>(content.timeout));
    return true;
}

void TrayIcon::Tell(std::initializer_list<std::int32_t> codes) {
    for (const auto code : codes)
        QMetaObject::invokeMethod(
            this,
            [this, code] {
                if (callback_message_ != 0) SendMessage(hwnd_, callback_message_, id_, code);
            },
            Qt::QueuedConnection);
}

}  // namespace pellago
