#include "support/stand_in_desktop.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusVariant>

#include "support/wait_until.h"

namespace pellago::test {
namespace {

constexpr auto kItem = "org.kde.StatusNotifierItem";
constexpr auto kItemPath = "/StatusNotifierItem";
constexpr auto kMenu = "com.canonical.dbusmenu";

/// What came over the bus, out of its wrappings: structures and arrays as lists.
QVariant Plain(const QVariant& value) {
    if (value.userType() == qMetaTypeId<QDBusVariant>()) return Plain(value.value<QDBusVariant>().variant());
    if (value.userType() != qMetaTypeId<QDBusArgument>()) return value;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentType() == QDBusArgument::MapType) return qdbus_cast<QVariantMap>(argument);
    const bool is_array = argument.currentType() == QDBusArgument::ArrayType;
    QVariantList parts;
    is_array ? argument.beginArray() : argument.beginStructure();
    while (!argument.atEnd()) parts << Plain(argument.asVariant());
    is_array ? argument.endArray() : argument.endStructure();
    return parts;
}

/// Of the picture data among the hints.
QSize PictureSize(const QVariant& hints) {
    const auto data = qdbus_cast<QVariantMap>(hints).value("image-data");
    if (data.value<QDBusArgument>().currentSignature() != "(iiibiiay)") return {};
    const auto parts = Plain(data).toList();
    const QSize size(parts[0].toInt(), parts[1].toInt());
    return parts[6].toByteArray().size() == size.width() * size.height() * 4 ? size : QSize();
}

QDBusMessage Signal(const QString& name, uint id, const QVariant& what) {
    auto signal =
        QDBusMessage::createSignal("/org/freedesktop/Notifications", "org.freedesktop.Notifications", name);
    signal << id << what;
    return signal;
}

}  // namespace

QDBusMessage StandInTray::Answer(const QDBusMessage& call) {
    if (call.member() == "Get") return call.createReply(QVariant::fromValue(QDBusVariant(true)));
    if (call.member() != "RegisterStatusNotifierItem") return {};
    const std::lock_guard lock(mutex_);
    items_ << call.arguments().value(0).toString();
    return call.createReply();
}

QStringList StandInTray::Items() const {
    const auto registered = [this] {
        const std::lock_guard lock(mutex_);
        return items_;
    }();
    QStringList there;
    for (const auto& item : registered)
        if (service_.Bus().interface()->isServiceRegistered(item)) there << item;
    return there;
}

// The message loop runs until the answer is there.
QVariantList StandInTray::Ask(const QString& path, const QString& interface, const QString& method,
                              const QVariantList& arguments) const {
    auto call = QDBusMessage::createMethodCall(Items().value(0), path, interface, method);
    call.setArguments(arguments);
    const auto pending = service_.Bus().asyncCall(call);
    WaitUntil([&] { return pending.isFinished(); });
    return pending.reply().arguments();
}

QVariant StandInTray::Property(const QString& name) const {
    return Plain(Ask(kItemPath, "org.freedesktop.DBus.Properties", "Get", {kItem, name}).value(0));
}

QString StandInTray::Tip() const { return Property("ToolTip").toList().value(2).toString(); }

QString StandInTray::IconName() const { return Property("IconName").toString(); }

QByteArray StandInTray::Picture() const {
    QByteArray largest;
    for (const auto& picture : Property("IconPixmap").toList())
        if (const auto bytes = picture.toList().value(2).toByteArray(); bytes.size() > largest.size())
            largest = bytes;
    return largest;
}

void StandInTray::Activate() const { Ask(kItemPath, kItem, "Activate", {0, 0}); }

QString StandInTray::MenuPath() const { return Property("Menu").value<QDBusObjectPath>().path(); }

/// Each a number and its properties.
QVariantList StandInTray::MenuEntries() const {
    const auto layout = Plain(Ask(MenuPath(), kMenu, "GetLayout", {0, 1, QStringList{}}).value(1));
    return layout.toList().value(2).toList();
}

QStringList StandInTray::Menu() const {
    QStringList labels;
    for (const auto& entry : MenuEntries()) labels << entry.toList()[1].toMap()["label"].toString();
    return labels;
}

QStringList StandInTray::DisabledInMenu() const {
    QStringList labels;
    for (const auto& entry : MenuEntries()) {
        const auto properties = entry.toList()[1].toMap();
        if (!properties.value("enabled", true).toBool()) labels << properties["label"].toString();
    }
    return labels;
}

void StandInTray::ChooseFromMenu(const QString& label) const {
    const auto at = Menu().indexOf(label);
    const auto nothing = QVariant::fromValue(QDBusVariant(QString()));
    Ask(MenuPath(), kMenu, "Event", {MenuEntries().value(at).toList().value(0), "clicked", nothing, 0U});
}

QDBusMessage StandInNotifications::Answer(const QDBusMessage& call, const QDBusConnection& bus) {
    const auto given = call.arguments();
    if (call.member() == "GetCapabilities") return call.createReply(QVariant(capabilities_));
    if (call.member() == "CloseNotification") {
        {
            const std::lock_guard lock(mutex_);
            closed_.push_back(given.at(0).toUInt());
        }
        bus.send(Signal("NotificationClosed", given.at(0).toUInt(), 3U));
        return call.createReply();
    }
    if (call.member() != "Notify") return {};
    const auto replaces = given.at(1).toUInt();
    const auto id = replaces != 0 ? replaces : ++last_id_;
    {
        const std::lock_guard lock(mutex_);
        sent_.push_back({id, replaces, given.at(3).toString(), given.at(4).toString(),
                         given.at(5).toStringList(), PictureSize(given.at(6)), given.at(7).toInt()});
    }
    // Time for what a program may do before it knows the number.
    QThread::msleep(30);
    return call.createReply(id);
}

std::vector<SentNotification> StandInNotifications::Sent() const {
    const std::lock_guard lock(mutex_);
    return sent_;
}

std::vector<uint> StandInNotifications::Closed() const {
    const std::lock_guard lock(mutex_);
    return closed_;
}

void StandInNotifications::InvokeAction(uint id, const QString& action) const {
    service_.Bus().send(Signal("ActionInvoked", id, action));
}

void StandInNotifications::TellClosed(uint id, uint reason) const {
    service_.Bus().send(Signal("NotificationClosed", id, reason));
}

}  // namespace pellago::test
