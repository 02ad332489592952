#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <chrono>

namespace pellago {

/// A connection of its own to the session bus, which may have come or changed since the last one, with 5
/// seconds for all that is asked. The bus is greeted from here: the library's own greeting knows no limit.
class SessionBusCall final {
public:
    SessionBusCall();
    ~SessionBusCall();
    SessionBusCall(const SessionBusCall&) = delete;
    SessionBusCall& operator=(const SessionBusCall&) = delete;

    bool IsConnected() const { return bus_.isConnected(); }
    /// Comes before any other call.
    bool Greet();
    bool Answers(const QDBusMessage& call);

private:
    std::chrono::steady_clock::time_point end_;
    QString name_;
    QDBusConnection bus_;
};

}  // namespace pellago
