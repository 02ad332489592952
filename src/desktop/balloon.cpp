#include "balloon.h"

#include <QApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QIcon>
#include <QImage>
#include <QSize>
#include <QStyle>
#include <algorithm>
#include <limits>
#include <utility>

#include "desktop/notify_icon.h"

namespace pellago {

/// A picture as the service takes it: 8 bits each of red, green, blue and alpha, not premultiplied.
struct NotificationPicture {
    QImage image;
};

static QDBusArgument& operator<<(QDBusArgument& argument, const NotificationPicture& picture) {
    const auto& image = picture.image;
    argument.beginStructure();
    argument << image.width() << image.height() << static_cast<int>(image.bytesPerLine()) << true << 8 << 4
             << QByteArray(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes());
    argument.endStructure();
    return argument;
}

// The bus's types are read as well as written; nobody sends us a picture.
static const QDBusArgument& operator>>(const QDBusArgument& argument, NotificationPicture&) {
    return argument;
}

}  // namespace pellago

Q_DECLARE_METATYPE(pellago::NotificationPicture)

namespace pellago {
namespace {

constexpr QSize kPictureSize(48, 48);
constexpr int kTrayTime = 10000;  // ms

// Why a notification was closed.
constexpr uint kDismissed = 2;

QString Service() { return QStringLiteral("org.freedesktop.Notifications"); }
QString Path() { return QStringLiteral("/org/freedesktop/Notifications"); }

QDBusPendingCall Call(const QString& method, const QVariantList& arguments = {}) {
    const auto bus = QDBusConnection::sessionBus();
    // A call on a bus that is not connected would never be finished.
    if (!bus.isConnected()) return QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, {}));
    auto call = QDBusMessage::createMethodCall(Service(), Path(), Service(), method);
    call.setArguments(arguments);
    return bus.asyncCall(call);
}

void Close(uint id) { Call(QStringLiteral("CloseNotification"), {id}); }

/// Closes a notification that is on its way as soon as it has a number.
void CloseOnceKnown(const QDBusPendingCall& call) {
    auto* answer = new QDBusPendingCallWatcher(call, QCoreApplication::instance());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer] {
        answer->deleteLater();
        if (const QDBusPendingReply<uint> reply(*answer); !reply.isError()) Close(reply.value());
    });
}

std::optional<QStyle::StandardPixmap> StandardPicture(std::uint32_t kind) {
    switch (kind) {
        case NIIF_INFO:
            return QStyle::SP_MessageBoxInformation;
        case NIIF_WARNING:
            return QStyle::SP_MessageBoxWarning;
        case NIIF_ERROR:
            return QStyle::SP_MessageBoxCritical;
        default:
            return std::nullopt;
    }
}

QVariantMap Hints(std::uint32_t kind) {
    QVariantMap hints{{QStringLiteral("desktop-entry"), QGuiApplication::desktopFileName()}};
    if (const auto standard = StandardPicture(kind)) {
        const auto pixmap = QApplication::style()->standardIcon(*standard).pixmap(kPictureSize, 1.0);
        const NotificationPicture picture{pixmap.toImage().convertToFormat(QImage::Format_RGBA8888)};
        hints.insert(QStringLiteral("image-data"), QVariant::fromValue(picture));
    }
    return hints;
}

int ExpireTime(std::uint32_t timeout) {
    constexpr std::uint32_t most = std::numeric_limits<int>::max();
    // To the service 0 is a balloon that stays for ever, to us a time of the service's own (-1).
    return timeout == 0 ? -1 : static_cast<int>(std::min(timeout, most));
}

}  // namespace

Balloon::Balloon(std::function<void(std::int32_t)> tell, std::function<bool(const Content&)> show_in_tray)
    : tell_(std::move(tell)), show_in_tray_(std::move(show_in_tray)) {
    qDBusRegisterMetaType<NotificationPicture>();
    in_tray_.setSingleShot(true);
    connect(&in_tray_, &QTimer::timeout, this, [this] { tell_(NIN_BALLOONTIMEOUT); });
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return;
    bus.connect(Service(), Path(), Service(), QStringLiteral("ActionInvoked"), this,
                SLOT(OnActionInvoked(uint, QString)));
    bus.connect(Service(), Path(), Service(), QStringLiteral("NotificationClosed"), this,
                SLOT(OnNotificationClosed(uint, uint)));
    auto* names = new QDBusServiceWatcher(Service(), bus, QDBusServiceWatcher::WatchForUnregistration, this);
    connect(names, &QDBusServiceWatcher::serviceUnregistered, this, &Balloon::OnServiceGone);
}

Balloon::~Balloon() {
    if (id_ != 0) Close(id_);
    if (in_tray_.isActive()) show_in_tray_({});
    if (call_) CloseOnceKnown(*call_);
}

void Balloon::Set(Content content) {
    wish_ = std::move(content);
    if (!busy_) Next();
}

void Balloon::Next() {
    busy_ = false;
    if (!wish_) return;
    if (wish_->text.isEmpty()) {
        wish_.reset();
        return Remove();
    }
    busy_ = true;
    // The capabilities are asked for each time, as services come and go.
    auto* answer = new QDBusPendingCallWatcher(Call(QStringLiteral("GetCapabilities")), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QStringList> reply(*answer);
        if (wish_->text.isEmpty()) return Next();
        if (!reply.isError()) return Notify(reply.value());
        ShowInTray(*std::exchange(wish_, std::nullopt));
        Next();
    });
}

void Balloon::Notify(const QStringList& capabilities) {
    const auto content = *std::exchange(wish_, std::nullopt);
    const bool markup = capabilities.contains(QStringLiteral("body-markup"));
    // Services that know no actions make dialogs of notifications that have some.
    const auto actions = capabilities.contains(QStringLiteral("actions"))
                             ? QStringList{QStringLiteral("default"), QStringLiteral("Open")}
                             : QStringList{};
    const auto program = QGuiApplication::applicationDisplayName();
    call_ = Call(QStringLiteral("Notify"),
                 {program, id_, QStringLiteral("pellago"), content.title.isEmpty() ? program : content.title,
                  markup ? content.text.toHtmlEscaped() : content.text, actions, Hints(content.kind),
                  ExpireTime(content.timeout)});
    auto* answer = new QDBusPendingCallWatcher(*call_, this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, content, answer] {
        answer->deleteLater();
        OnNotified(content);
    });
}

void Balloon::OnNotified(const Content& content) {
    const QDBusPendingReply<uint> reply(*std::exchange(call_, std::nullopt));
    if (reply.isError()) {
        ShowInTray(content);
    } else {
        id_ = reply.value();
        tell_(NIN_BALLOONSHOW);
    }
    Next();
}

void Balloon::ShowInTray(const Content& content) {
    if (!show_in_tray_(content)) return;
    in_tray_.start(content.timeout == 0 ? kTrayTime : ExpireTime(content.timeout));
    tell_(NIN_BALLOONSHOW);
}

// A notification is hidden when its service says so.
void Balloon::Remove() {
    if (id_ != 0) Close(id_);
    if (!in_tray_.isActive()) return;
    in_tray_.stop();
    show_in_tray_({});
    tell_(NIN_BALLOONHIDE);
}

void Balloon::ClickInTray() {
    if (!in_tray_.isActive()) return;
    in_tray_.stop();
    tell_(NIN_BALLOONUSERCLICK);
}

void Balloon::OnActionInvoked(uint id, const QString& action) {
    if (id != id_ || action != QStringLiteral("default")) return;
    // Some services leave a notification open that was clicked.
    Close(std::exchange(id_, 0U));
    tell_(NIN_BALLOONUSERCLICK);
}

void Balloon::OnNotificationClosed(uint id, uint reason) {
    if (id_ == 0 || id != id_) return;
    id_ = 0;
    tell_(reason <= kDismissed ? NIN_BALLOONTIMEOUT : NIN_BALLOONHIDE);
}

void Balloon::OnServiceGone() {
    if (std::exchange(id_, 0U) != 0) tell_(NIN_BALLOONHIDE);
}

}  // namespace pellago
