#include <QDBusMessage>
#include <filesystem>
#include <system_error>

#include "platform/system/shell_execute.h"
#include "session_bus_call.h"

namespace pellago {
namespace {

using namespace Qt::StringLiterals;

/// The file's address (RFC 8089), byte by byte, whatever encoding its name has.
QString FileUrl(const std::string& file) {
    std::error_code failure;
    const auto path = std::filesystem::absolute(file, failure).string();
    return u"file://"_s + QString::fromLatin1(QByteArray::fromStdString(path).toPercentEncoding("/"));
}

}  // namespace

std::int32_t ShellShowProperties(const std::string& file) {
    auto call =
        QDBusMessage::createMethodCall(u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
                                       u"org.freedesktop.FileManager1"_s, u"ShowItemProperties"_s);
    call << QStringList{FileUrl(file)} << QString();
    SessionBusCall bus;
    return bus.Greet() && bus.Answers(call) ? shell_result::kSuccess : shell_result::kNoAssociation;
}

}  // namespace pellago
