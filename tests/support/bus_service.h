#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QThread>
#include <functional>
#include <stdexcept>

namespace pellago::test {

/// Owns a name on the session bus and answers there, as long as it lives; on a connection and in a thread of
/// its own, for Qt waits for its answers.
class BusService final : private QDBusVirtualObject {
public:
    /// The reply to a call; an empty message for what is not known here.
    using Answer = std::function<QDBusMessage(const QDBusMessage& call, const QDBusConnection& bus)>;

    BusService(const QString& name, const QString& path, Answer answer, const QString& introspection = {})
        : name_(name), introspection_(introspection), answer_(std::move(answer)) {
        if (!bus_.registerVirtualObject(path, this) || !bus_.registerService(name))
            throw std::runtime_error("cannot serve " + name.toStdString());
        moveToThread(&thread_);
        thread_.start();
    }
    ~BusService() override {
        bus_.unregisterService(name_);
        QDBusConnection::disconnectFromBus(bus_.name());
        thread_.quit();
        thread_.wait();
    }
    BusService(const BusService&) = delete;
    BusService& operator=(const BusService&) = delete;

    QDBusConnection Bus() const { return bus_; }

private:
    QString introspect(const QString&) const override { return introspection_; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override {
        const auto reply = answer_(call, bus);
        return reply.type() != QDBusMessage::InvalidMessage && bus.send(reply);
    }

    static inline int made_ = 0;
    QString name_;
    QString introspection_;
    Answer answer_;
    QDBusConnection bus_ = QDBusConnection::connectToBus(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"),
                                                         QStringLiteral("service-%1").arg(++made_));
    QThread thread_;
};

}  // namespace pellago::test
