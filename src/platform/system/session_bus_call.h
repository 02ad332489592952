#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <chrono>

namespace pellago {

/// A new connection to the session bus, since the bus may have been started or replaced after the last call,
/// with 5 seconds for all calls together. The bus is greeted by Greet, for Qt's own greeting has no time
/// limit.
class SessionBusCall final {
public:
    SessionBusCall();
    ~SessionBusCall();
    SessionBusCall(const SessionBusCall&) = delete;
    SessionBusCall& operator=(const SessionBusCall&) = delete;

    bool IsConnected() const { return bus_.isConnected(); }
    /// To be called before Answers; false when the bus does not answer.
    bool Greet();
    /// Makes a call; false when it fails or the time is over.
    bool Answers(const QDBusMessage& call);

private:
    std::chrono::steady_clock::time_point end_;
    QString name_;
    QDBusConnection bus_;
};

}  // namespace pellago
