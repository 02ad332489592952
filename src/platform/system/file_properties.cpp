#include <QDBusMessage>

#include "platform/system/shell_execute.h"
#include "platform/values/addresses.h"
#include "session_bus_call.h"

namespace pellago {

using namespace Qt::StringLiterals;

std::int32_t ShellShowProperties(const std::string& file) {
    auto call =
        QDBusMessage::createMethodCall(u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s,
                                       u"org.freedesktop.FileManager1"_s, u"ShowItemProperties"_s);
    call << QStringList{QString::fromStdString(FileAddress(file))} << QString();
    SessionBusCall bus;
    return bus.Greet() && bus.Answers(call) ? shell_result::kSuccess : shell_result::kNoAssociation;
}

}  // namespace pellago
