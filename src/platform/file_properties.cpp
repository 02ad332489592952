#include <QDBusConnection>
#include <QDBusMessage>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <system_error>

#include "platform/shell_execute.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
using Clock = std::chrono::steady_clock;

constexpr auto kLimit = 5s;

/// The file's address (RFC 8089), byte by byte, whatever encoding its name has.
QString FileUrl(const std::string& file) {
    std::error_code failure;
    const auto path = std::filesystem::absolute(file, failure).string();
    return u"file://"_s + QString::fromLatin1(QByteArray::fromStdString(path).toPercentEncoding("/"));
}

QString SessionBusAddress() {
    const auto named = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    return named.isEmpty() ? u"unix:path="_s + qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/bus"_s : named;
}

/// A connection of its own to the session bus, which may have come or changed since the last call. The bus is
/// greeted from here: the library's own greeting knows no limit.
class SessionBus final {
public:
    SessionBus() : name_(NewName()), bus_(QDBusConnection::connectToPeer(SessionBusAddress(), name_)) {}
    ~SessionBus() { QDBusConnection::disconnectFromPeer(name_); }
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    bool Greet() {
        return bus_.isConnected() &&
               Answers(QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                      u"org.freedesktop.DBus"_s, u"Hello"_s));
    }

    bool Answers(const QDBusMessage& call) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end_ - Clock::now());
        return left > 0ms && bus_.call(call, QDBus::Block, static_cast<int>(left.count())).type() ==
                                 QDBusMessage::ReplyMessage;
    }

private:
    static QString NewName() {
        static std::atomic<int> connections = 0;
        return u"pellago-file-properties-%1"_s.arg(++connections);
    }

    Clock::time_point end_ = Clock::now() + kLimit;
    QString name_;
    QDBusConnection bus_;
};

}  // namespace

std::int32_t ShellShowProperties(const std::string& file) {
    auto call =
        QDBusMessage::createMethodCall(u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
                                       u"org.freedesktop.FileManager1"_s, u"ShowItemProperties"_s);
    call << QStringList{FileUrl(file)} << QString();
    SessionBus bus;
    return bus.Greet() && bus.Answers(call) ? shell_result::kSuccess : shell_result::kNoAssociation;
}

}  // namespace pellago
