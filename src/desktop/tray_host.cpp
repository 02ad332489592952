#include "tray_host.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <utility>

#include "xembed_tray.h"

namespace pellago {
namespace {

constexpr int kAnswerTime = 2000;  // ms

QString Watcher() { return QStringLiteral("org.kde.StatusNotifierWatcher"); }
QString WatcherPath() { return QStringLiteral("/StatusNotifierWatcher"); }

}  // namespace

TrayHost::TrayHost(std::function<void()> changed) : changed_(std::move(changed)) {
    if (const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>())
        xembed_ = std::make_unique<XembedTray>(x11->connection(), [this] {
            QMetaObject::invokeMethod(this, &TrayHost::Update, Qt::QueuedConnection);
        });
    ListenOnBus();
}

TrayHost::~TrayHost() = default;

bool TrayHost::Available() const { return SpeaksXembed() ? xembed_->Present() : Found() && bus_host_; }

void TrayHost::ListenOnBus() {
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        bus_answered_ = true;
        QMetaObject::invokeMethod(this, &TrayHost::Update, Qt::QueuedConnection);
        return;
    }
    auto* names = new QDBusServiceWatcher(Watcher(), bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(names, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayHost::AskWatcher);
    // The watcher of icons may be on the bus before the panel that draws them.
    for (const auto& signal :
         {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")})
        bus.connect(Watcher(), WatcherPath(), Watcher(), signal, this, SLOT(AskWatcher()));
    AskWatcher();
}

void TrayHost::AskWatcher() {
    auto question = QDBusMessage::createMethodCall(
        Watcher(), WatcherPath(), QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << Watcher() << QStringLiteral("IsStatusNotifierHostRegistered");
    question.setAutoStartService(false);
    auto* answer =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(question, kAnswerTime), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply(*answer);
        bus_answered_ = true;
        bus_host_ = !reply.isError() && reply.value().variant().toBool();
        Update();
    });
}

void TrayHost::Update() {
    if (!Found() && bus_answered_) {
        if (bus_host_)
            protocol_ = Protocol::kStatusNotifier;
        else if (xembed_ && xembed_->Present())
            protocol_ = Protocol::kXembed;
    }
    if (std::exchange(was_available_, Available()) != was_available_) changed_();
}

}  // namespace pellago
