#include "support/stand_in_desktop.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QMap>
#include <QObject>
#include <QThread>
#include <mutex>
#include <stdexcept>

#include "support/wait_until.h"

namespace pellago::test {
namespace {

const auto kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto kItem = QStringLiteral("org.kde.StatusNotifierItem");
const auto kItemPath = QStringLiteral("/StatusNotifierItem");
const auto kMenu = QStringLiteral("com.canonical.dbusmenu");
const auto kNotificationsPath = QStringLiteral("/org/freedesktop/Notifications");
const auto kNotifications = QStringLiteral("org.freedesktop.Notifications");

// Signals are sent by hand: QtDBus would pass on those of an object's end, from the wrong thread.
constexpr auto kExported = QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties;

QDBusMessage ClosedSignal(uint id, uint reason) {
    return QDBusMessage::createSignal(kNotificationsPath, kNotifications,
                                      QStringLiteral("NotificationClosed"))
           << id << reason;
}

/// Owns a name on the bus, whose object lives in another thread.
class Service final {
public:
    Service(const QString& name, const QString& path, std::unique_ptr<QObject> object)
        : name_(name), object_(std::move(object)), bus_(Connect(name)) {
        if (!bus_.registerObject(path, object_.get(), kExported) || !bus_.registerService(name))
            throw std::runtime_error("cannot serve " + name.toStdString());
        object_->moveToThread(&thread_);
        thread_.start();
    }
    ~Service() {
        bus_.unregisterService(name_);
        QDBusConnection::disconnectFromBus(bus_.name());
        thread_.quit();
        thread_.wait();
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    QDBusConnection Bus() const { return bus_; }

    /// Runs the message loop until the answer is there.
    QVariant Ask(const QString& service, const QString& path, const QString& interface, const QString& method,
                 const QVariantList& arguments, qsizetype which = 0) const {
        auto call = QDBusMessage::createMethodCall(service, path, interface, method);
        call.setArguments(arguments);
        const auto pending = bus_.asyncCall(call);
        WaitUntil([&] { return pending.isFinished(); });
        return pending.reply().arguments().value(which);
    }
    QVariant Property(const QString& service, const QString& path, const QString& interface,
                      const QString& name) const {
        const auto answer = Ask(service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                QStringLiteral("Get"), {interface, name});
        return answer.value<QDBusVariant>().variant();
    }

private:
    static QDBusConnection Connect(const QString& name) {
        static int made = 0;
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus,
                                             name + QStringLiteral("-%1").arg(++made));
    }

    QString name_;
    std::unique_ptr<QObject> object_;
    QDBusConnection bus_;
    QThread thread_;
};

class Watcher final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ Items)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ HasHost)

public:
    QStringList Items() const {
        const std::lock_guard lock(mutex_);
        return items_;
    }
    bool HasHost() const { return true; }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString& service) {
        const std::lock_guard lock(mutex_);
        items_ << service;
    }

private:
    mutable std::mutex mutex_;
    QStringList items_;
};

/// Of the picture data (iiibiiay) among the hints.
QSize PictureSize(const QVariantMap& hints) {
    const auto data = hints.value(QStringLiteral("image-data")).value<QDBusArgument>();
    if (data.currentSignature() != QStringLiteral("(iiibiiay)")) return {};
    int width = 0, height = 0, stride = 0, bits = 0, channels = 0;
    bool alpha = false;
    QByteArray bytes;
    data.beginStructure();
    data >> width >> height >> stride >> alpha >> bits >> channels >> bytes;
    data.endStructure();
    return bytes.size() == width * height * 4 ? QSize(width, height) : QSize();
}

class Notifications final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    explicit Notifications(const QStringList& capabilities) : capabilities_(capabilities) {}

    mutable std::mutex mutex;
    std::vector<SentNotification> sent;
    std::vector<uint> closed;

public Q_SLOTS:
    QStringList GetCapabilities() const { return capabilities_; }
    uint Notify(const QString&, uint replaces, const QString&, const QString& title, const QString& body,
                const QStringList& actions, const QVariantMap& hints, int timeout) {
        const uint id = replaces != 0 ? replaces : ++last_id_;
        {
            const std::lock_guard lock(mutex);
            sent.push_back({id, replaces, title, body, actions, PictureSize(hints), timeout});
        }
        // Time for what a program may do before it knows the number.
        QThread::msleep(30);
        return id;
    }
    void CloseNotification(uint id) {
        {
            const std::lock_guard lock(mutex);
            closed.push_back(id);
        }
        connection().send(ClosedSignal(id, 3));
    }

private:
    QStringList capabilities_;
    uint last_id_ = 40;
};

struct MenuEntry {
    int id = 0;
    QString label;
};

/// The entries of a menu's top level, from (ia{sv}av).
std::vector<MenuEntry> EntriesOf(const QDBusArgument& layout) {
    std::vector<MenuEntry> entries;
    int root = 0;
    QVariantMap properties;
    layout.beginStructure();
    layout >> root >> properties;
    layout.beginArray();
    while (!layout.atEnd()) {
        QDBusVariant child;
        layout >> child;
        const auto item = child.variant().value<QDBusArgument>();
        MenuEntry entry;
        item.beginStructure();
        item >> entry.id >> properties;
        item.endStructure();
        entry.label = properties.value(QStringLiteral("label")).toString();
        entries.push_back(entry);
    }
    layout.endArray();
    layout.endStructure();
    return entries;
}

}  // namespace

struct StandInTray::State {
    Watcher* watcher = new Watcher;
    Service service{kWatcher, QStringLiteral("/StatusNotifierWatcher"), std::unique_ptr<QObject>(watcher)};

    QVariant ItemProperty(const QString& item, const QString& name) const {
        return service.Property(item, kItemPath, kItem, name);
    }
    QString MenuPath(const QString& item) const {
        return ItemProperty(item, QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    }
    std::vector<MenuEntry> Entries(const QString& item) const {
        const auto layout =
            service.Ask(item, MenuPath(item), kMenu, QStringLiteral("GetLayout"), {0, 1, QStringList{}}, 1);
        return layout.isValid() ? EntriesOf(layout.value<QDBusArgument>()) : std::vector<MenuEntry>();
    }
};

StandInTray::StandInTray() : state_(std::make_unique<State>()) {}

StandInTray::~StandInTray() = default;

QStringList StandInTray::Items() const {
    QStringList there;
    for (const auto& item : state_->watcher->Items())
        if (state_->service.Bus().interface()->isServiceRegistered(item)) there << item;
    return there;
}

QString StandInTray::Tip() const {
    const auto tip = state_->ItemProperty(Items().value(0), QStringLiteral("ToolTip")).value<QDBusArgument>();
    QString icon, title;
    tip.beginStructure();
    tip >> icon;
    tip.beginArray();
    while (!tip.atEnd()) {
        int width = 0, height = 0;
        QByteArray bytes;
        tip.beginStructure();
        tip >> width >> height >> bytes;
        tip.endStructure();
    }
    tip.endArray();
    QString text;
    tip >> title >> text;
    tip.endStructure();
    return title;
}

QString StandInTray::IconName() const {
    return state_->ItemProperty(Items().value(0), QStringLiteral("IconName")).toString();
}

QByteArray StandInTray::Picture() const {
    const auto pictures =
        state_->ItemProperty(Items().value(0), QStringLiteral("IconPixmap")).value<QDBusArgument>();
    QByteArray largest;
    pictures.beginArray();
    while (!pictures.atEnd()) {
        int width = 0, height = 0;
        QByteArray bytes;
        pictures.beginStructure();
        pictures >> width >> height >> bytes;
        pictures.endStructure();
        if (bytes.size() > largest.size()) largest = bytes;
    }
    pictures.endArray();
    return largest;
}

void StandInTray::Activate() const {
    state_->service.Ask(Items().value(0), kItemPath, kItem, QStringLiteral("Activate"), {0, 0});
}

QStringList StandInTray::Menu() const {
    QStringList labels;
    for (const auto& entry : state_->Entries(Items().value(0))) labels << entry.label;
    return labels;
}

void StandInTray::ChooseFromMenu(const QString& label) const {
    const auto item = Items().value(0);
    for (const auto& entry : state_->Entries(item))
        if (entry.label == label)
            state_->service.Ask(
                item, state_->MenuPath(item), kMenu, QStringLiteral("Event"),
                {entry.id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())), 0U});
}

struct StandInNotifications::State {
    explicit State(const QStringList& capabilities)
        : object(new Notifications(capabilities)),
          service(kNotifications, kNotificationsPath, std::unique_ptr<QObject>(object)) {}

    Notifications* object;
    Service service;
};

StandInNotifications::StandInNotifications(const QStringList& capabilities)
    : state_(std::make_unique<State>(capabilities)) {}

StandInNotifications::~StandInNotifications() = default;

std::vector<SentNotification> StandInNotifications::Sent() const {
    const std::lock_guard lock(state_->object->mutex);
    return state_->object->sent;
}

std::vector<uint> StandInNotifications::Closed() const {
    const std::lock_guard lock(state_->object->mutex);
    return state_->object->closed;
}

void StandInNotifications::InvokeAction(uint id, const QString& action) const {
    state_->service.Bus().send(
        QDBusMessage::createSignal(kNotificationsPath, kNotifications, QStringLiteral("ActionInvoked"))
        << id << action);
}

void StandInNotifications::TellClosed(uint id, uint reason) const {
    state_->service.Bus().send(ClosedSignal(id, reason));
}

}  // namespace pellago::test

#include "stand_in_desktop.moc"
