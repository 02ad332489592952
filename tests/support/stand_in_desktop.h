#pragma once

#include <QByteArray>
#include <QSize>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

namespace pellago::test {

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

/// A StatusNotifier host, on the session bus as long as it lives; on a connection and in a thread of its own,
/// for Qt waits for its answers.
class StandInTray final {
public:
    StandInTray();
    ~StandInTray();
    StandInTray(const StandInTray&) = delete;
    StandInTray& operator=(const StandInTray&) = delete;

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
    void ChooseFromMenu(const QString& label) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// A notification service, of the same make.
class StandInNotifications final {
public:
    explicit StandInNotifications(const QStringList& capabilities);
    ~StandInNotifications();
    StandInNotifications(const StandInNotifications&) = delete;
    StandInNotifications& operator=(const StandInNotifications&) = delete;

    std::vector<SentNotification> Sent() const;
    /// The numbers that were asked to be closed.
    std::vector<uint> Closed() const;

    void InvokeAction(uint id, const QString& action) const;
    void TellClosed(uint id, uint reason) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace pellago::test
