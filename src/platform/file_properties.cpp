#include <QDBusConnection>
#include <QDBusMessage>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/shell_execute.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

constexpr auto kLimit = 5s;

/// The file's address (RFC 8089), byte by byte, whatever encoding its name has.
QString FileUrl(const std::string& file) {
    std::error_code failure;
    const auto path = std::filesystem::absolute(file, failure).string();
    return u"file://"_s + QString::fromLatin1(QByteArray::fromStdString(path).toPercentEncoding("/"));
}

QDBusConnection Connect(const QString& bus, const QString& name) {
    return bus.isEmpty() ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, name)
                         : QDBusConnection::connectToBus(bus, name);
}

/// Over a connection of its own, because the bus may have come or changed since the last call.
std::int32_t AskFileManager(const QString& bus_address, const QString& file_url) {
    static std::atomic<int> calls = 0;
    const auto name = u"pellago-file-properties-%1"_s.arg(++calls);
    auto result = shell_result::kNoAssociation;
    {
        const auto bus = Connect(bus_address, name);
        auto call = QDBusMessage::createMethodCall(
            u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
            u"org.freedesktop.FileManager1"_s, u"ShowItemProperties"_s);
        call << QStringList{file_url} << QString();
        constexpr auto kMilliseconds = static_cast<int>(std::chrono::milliseconds(kLimit).count());
        if (bus.isConnected() &&
            bus.call(call, QDBus::Block, kMilliseconds).type() == QDBusMessage::ReplyMessage)
            result = shell_result::kSuccess;
    }
    QDBusConnection::disconnectFromBus(name);
    return result;
}

}  // namespace

std::int32_t ShellShowProperties(const std::string& file) {
    // In a thread that can be left behind: connecting to a bus that has stopped answering knows no limit.
    std::packaged_task<std::int32_t(QString, QString)> ask(AskFileManager);
    auto result = ask.get_future();
    try {
        std::thread(std::move(ask), qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), FileUrl(file)).detach();
    } catch (const std::system_error&) {
        return shell_result::kOutOfMemory;
    }
    return result.wait_for(kLimit) == std::future_status::ready ? result.get()
                                                                : shell_result::kConversationTimeout;
}

}  // namespace pellago
