#include "platform/system/session_bus.h"

#include <atomic>

#include "session_bus_call.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using Clock = std::chrono::steady_clock;

constexpr auto kLimit = 5s;
constexpr const char* kAddressVariable = "DBUS_SESSION_BUS_ADDRESS";

QString Address() {
    const auto named = qEnvironmentVariable(kAddressVariable);
    return named.isEmpty() ? u"unix:path="_s + qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/bus"_s : named;
}

QString NewName() {
    static std::atomic<int> connections = 0;
    return u"pellago-%1"_s.arg(++connections);
}

}  // namespace

SessionBusCall::SessionBusCall()
    : end_(Clock::now() + kLimit), name_(NewName()), bus_(QDBusConnection::connectToPeer(Address(), name_)) {}

SessionBusCall::~SessionBusCall() { QDBusConnection::disconnectFromPeer(name_); }

bool SessionBusCall::Greet() {
    return bus_.isConnected() &&
           Answers(QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                  u"org.freedesktop.DBus"_s, u"Hello"_s));
}

bool SessionBusCall::Answers(const QDBusMessage& call) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now());
    return left > 0ms &&
           bus_.call(call, QDBus::Block, static_cast<int>(left.count())).type() == QDBusMessage::ReplyMessage;
}

void ForgetDumbSessionBus() {
    SessionBusCall bus;
    // A bus that cannot be connected to keeps nobody waiting, and may be started on demand.
    if (bus.IsConnected() && !bus.Greet()) qputenv(kAddressVariable, "unix:path=/dev/null");
}

}  // namespace pellago
