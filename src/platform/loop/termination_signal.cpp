#include "platform/loop/termination_signal.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <array>
#include <cerrno>
#include <utility>

#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

constexpr std::array kSignals{SIGHUP, SIGINT, SIGTERM};

volatile sig_atomic_t write_end = -1;
volatile sig_atomic_t signalled = 0;

// The handler does only what is safe in the middle of anything (signal-safety(7)): it hands the signal to the
// loop through a pipe.
void SignalArrived(int signal) {
    const int error = errno;
    signalled = 1;
    const auto byte = static_cast<unsigned char>(signal);
    [[maybe_unused]] const auto written = write(write_end, &byte, 1);
    errno = error;
}

std::array<int, 2> OpenPipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        throw RunTimeError(error_number::kInternalError, "", "No pipe for signals");
    return ends;
}

}  // namespace

struct OnTerminationSignal::Pipe {
    explicit Pipe(std::function<void(int)> when_signalled)
        : callback(std::make_shared<const std::function<void(int)>>(std::move(when_signalled))) {
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this]() noexcept { Deliver(); });
    }
    ~Pipe() {
        for (const int end : ends) close(end);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void Deliver() {
        unsigned char signal = 0;
        // The callback may end this object.
        const auto kept = callback;
        if (read(ends[0], &signal, 1) == 1) (*kept)(signal);
    }

    std::array<int, 2> ends = OpenPipe();
    QSocketNotifier notifier{ends[0], QSocketNotifier::Read};
    std::shared_ptr<const std::function<void(int)>> callback;
    std::array<struct sigaction, kSignals.size()> before{};
};

OnTerminationSignal::OnTerminationSignal(std::function<void(int signal)> callback)
    : pipe_(std::make_unique<Pipe>(std::move(callback))) {
    write_end = pipe_->ends[1];
    signalled = 0;
    for (std::size_t index = 0; index < kSignals.size(); ++index) {
        sigaction(kSignals[index], nullptr, &pipe_->before[index]);
        if (pipe_->before[index].sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_handler = SignalArrived;
        action.sa_flags = SA_RESTART;
        sigaction(kSignals[index], &action, nullptr);
    }
}

OnTerminationSignal::~OnTerminationSignal() {
    for (std::size_t index = 0; index < kSignals.size(); ++index)
        sigaction(kSignals[index], &pipe_->before[index], nullptr);
    write_end = -1;
}

bool TerminationSignalled() { return signalled != 0; }

}  // namespace pellago
