#pragma once

#include <QByteArray>
#include <QSize>
#include <QStringList>
#include <mutex>
#include <vector>

#include "support/bus_service.h"

namespace pellago::test {

/// A StatusNotifier host, on the session bus as long as it lives.
class StandInTray final {
public:
    /// The items that have registered and are still there.
    QStringList Items() const;

    // What a host asks the first of them, and does to it.
    QString Tip() const;
    QString IconName() const;
    /// The bytes of the largest picture.
    QByteArray Picture() const;
    void Activate() const;
    /// The labels of its menu.
    QStringList Menu() const;
    QStringList DisabledInMenu() const;
    void ChooseFromMenu(const QString& label) const;

private:
    QDBusMessage Answer(const QDBusMessage& call);
    QVariantList Ask(const QString& path, const QString& interface, const QString& method,
                     const QVariantList& arguments) const;
    QVariant Property(const QString& name) const;
    QString MenuPath() const;
    QVariantList MenuEntries() const;

    mutable std::mutex mutex_;
    QStringList items_;
    BusService service_{
        "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
        [this](const QDBusMessage& call, const QDBusConnection&) { return Answer(call); },
        "<interface name='org.kde.StatusNotifierWatcher'>"
        "<property name='IsStatusNotifierHostRegistered' type='b' access='read'/></interface>"};
};

/// A notification as it came over the bus.
struct SentNotification {
    uint id = 0;
    uint replaces = 0;
    QString title;
    QString body;
    QStringList actions;
    QSize picture;  ///< null without one
    int timeout = 0;
};

/// A notification service, of the same make.
class StandInNotifications final {
public:
    explicit StandInNotifications(const QStringList& capabilities) : capabilities_(capabilities) {}

    std::vector<SentNotification> Sent() const;
    /// The numbers that were asked to be closed.
    std::vector<uint> Closed() const;

    void InvokeAction(uint id, const QString& action) const;
    void TellClosed(uint id, uint reason) const;

private:
    QDBusMessage Answer(const QDBusMessage& call, const QDBusConnection& bus);

    mutable std::mutex mutex_;
    std::vector<SentNotification> sent_;
    std::vector<uint> closed_;
    QStringList capabilities_;
    uint last_id_ = 40;
    BusService service_{
        "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
        [this](const QDBusMessage& call, const QDBusConnection& bus) { return Answer(call, bus); }};
};

}  // namespace pellago::test
