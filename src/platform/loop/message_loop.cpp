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

// Qt keeps references to these.
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
    // Qt warns on stderr when the locale is not a UTF-8 one, as under cron; here it makes no difference.
    const auto shown = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    application_ = std::make_unique<Application>();
    qInstallMessageHandler(shown);
    // It also takes over the user's locale; numbers in files and statements keep their decimal point.
    std::setlocale(LC_NUMERIC, "C");
}
MessageLoop::~MessageLoop() = default;

void DoEvents() {
    // A pass handles what was ready when it began, and that may make more ready. The bound keeps a stream of
    // events that never ends from holding the caller here.
    constexpr int kPasses = 32;
    auto& dispatcher = Dispatcher();
    for (int pass = 0; pass < kPasses && dispatcher.processEvents(QEventLoop::AllEvents); ++pass) {
    }
}

void WaitForEvents() { Dispatcher().processEvents(QEventLoop::WaitForMoreEvents); }

void CallLater(std::function<void()> callback) {
    Dispatcher();
    // Events posted by a posted event all come in the same pass; of timers that start each other only one
    // does, so that a wait wakes in between.
    auto* timer = new QTimer(QCoreApplication::instance());  // owned by the application until it has fired
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, call = std::move(callback)]() noexcept {
        timer->deleteLater();
        call();
    });
    timer->start(0);
}

}  // namespace pellago
