#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>
#include <cstdint>
#include <initializer_list>
#include <memory>

#include "balloon.h"
#include "desktop/notify_icon.h"

class QMenu;

namespace pellago {

class TrayHost;

/// One icon of the notification area. It may be deleted by whatever its window does on hearing of it.
class TrayIcon final : public QObject {
public:
    /// Without a `host` the icon is never shown.
    TrayIcon(std::int32_t hwnd, std::int32_t id, const TrayHost* host);
    ~TrayIcon() override;

    /// Takes over the fields that the record's flags name.
    void Apply(const NotificationRecord& record);
    void SetMenu(QMenu* menu);
    /// Shows the icon, when a host is there, in the next turn of the loop: what the program sets directly
    /// after the icon was added, a menu above all, is there when the host first reads the icon.
    void ShowLater();

private:
    void Show();
    void Rebuild();
    void UpdateIcon();
    void UpdateTip();
    void OnActivated(QSystemTrayIcon::ActivationReason reason);
    bool ShowMessage(const Balloon::Content& content);
    /// Posts codes to the window, one event each; they are dropped when the icon is gone by then.
    void Tell(std::initializer_list<std::int32_t> codes);

    std::int32_t hwnd_;
    std::int32_t id_;
    const TrayHost* host_;
    std::int32_t callback_message_ = 0;
    std::int32_t icon_ = 0;
    QString tip_;
    bool hidden_ = false;
    QPointer<QMenu> menu_;
    QElapsedTimer last_trigger_;
    std::unique_ptr<QSystemTrayIcon> tray_;
    std::unique_ptr<Balloon> balloon_;  ///< null without a host
};

}  // namespace pellago
