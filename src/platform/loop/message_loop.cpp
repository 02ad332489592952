#include "platform/loop/message_loop.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QTimer>
#include <array>
#include <clocale>
#include <utility>

#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

// The arguments that Qt is given; it keeps references to them.
int argument_count = 1;
std::array<char, 8> program_name{"pellago"};
std::array<char*, 2> arguments{program_name.data(), nullptr};

QAbstractEventDispatcher& Dispatcher() {
    auto* dispatcher = QAbstractEventDispatcher::instance();
    if (!dispatcher) throw RunTimeError(error_number::kObjectNotSet, "", "There is no message loop");
    return *dispatcher;
}

}  // namespace

struct MessageLoop::Application {
    QCoreApplication loop{argument_count, arguments.data()};
};

MessageLoop::MessageLoop() {
    // Qt warns on stderr when the locale is not a UTF-8 one, as under cron. This program does without the
    // locale's encoding, so the warning is kept from its users.
    const auto shown = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    application_ = std::make_unique<Application>();
    qInstallMessageHandler(shown);
    // Qt also takes over the user's locale, but numbers in files and statements keep their decimal point.
    std::setlocale(LC_NUMERIC, "C");
}
MessageLoop::~MessageLoop() = default;

void DoEvents() {
    // A pass handles the events that were ready when it began, and these may make others ready. The bound on
    // passes keeps a stream of events that never ends from holding the caller here.
    constexpr int kPasses = 32;
    auto& dispatcher = Dispatcher();
    for (int pass = 0; pass < kPasses && dispatcher.processEvents(QEventLoop::AllEvents); ++pass) {
    }
}

void WaitForEvents() { Dispatcher().processEvents(QEventLoop::WaitForMoreEvents); }

void CallLater(std::function<void()> callback) {
    Dispatcher();
    // A timer and no posted event: events that are posted by posted events all come in one pass of the loop,
    // while of timers that start each other only one fires in a pass, so that WaitForEvents returns in
    // between.
    auto* timer = new QTimer(QCoreApplication::instance());  // owned by the application until it has fired
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, call = std::move(callback)]() noexcept {
        timer->deleteLater();
        call();
    });
    timer->start(0);
}

}  // namespace pellago
