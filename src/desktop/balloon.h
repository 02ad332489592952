#pragma once

#include <QDBusPendingCall>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <optional>

namespace pellago {

/// The balloon of one icon: a notification of the desktop's service for them, or, where none runs, of the
/// tray. There is one at a time; a newer one takes the older one's place.
class Balloon final : public QObject {
    Q_OBJECT

public:
    struct Content {
        QString title;
        QString text;               ///< empty: no balloon
        std::uint32_t kind = 0;     ///< NIIF_…
        std::uint32_t timeout = 0;  ///< ms; 0: as the service likes
    };

    /// `tell` gets NIN_BALLOON… codes, `show_in_tray` answers whether there is a tray to show it.
    Balloon(std::function<void(std::int32_t)> tell, std::function<bool(const Content&)> show_in_tray);
    /// Takes an open balloon away, without a code.
    ~Balloon() override;

    /// Shows a balloon, or takes the present one away; never waits for the service.
    void Set(Content content);

    /// The tray's own balloon was clicked.
    void ClickInTray();

private Q_SLOTS:
    void OnActionInvoked(uint id, const QString& action);
    void OnNotificationClosed(uint id, uint reason);
    void OnServiceGone();

private:
    void Next();
    void Notify(const QStringList& capabilities);
    void OnNotified(const Content& content);
    void ShowInTray(const Content& content);
    void Remove();

    std::function<void(std::int32_t)> tell_;
    std::function<bool(const Content&)> show_in_tray_;
    std::optional<Content> wish_;  ///< what is to be shown once the call under way is answered
    bool busy_ = false;
    std::optional<QDBusPendingCall> call_;  ///< the Notify under way
    uint id_ = 0;                           ///< the open notification, 0 for none
    QTimer in_tray_;                        ///< runs as long as the tray shows it
};

}  // namespace pellago
