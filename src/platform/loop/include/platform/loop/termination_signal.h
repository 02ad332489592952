#pragma once

#include <functional>
#include <memory>

namespace pellago {

/// For as long as it lives, SIGHUP, SIGINT and SIGTERM do not end the program but come as a call from the
/// message loop, one for each signal. A signal that was ignored when the program was started (as by nohup)
/// stays ignored. One object at a time.
class OnTerminationSignal final {
public:
    /// Throws RunTimeError when the system has no descriptors left.
    explicit OnTerminationSignal(std::function<void(int signal)> callback);
    /// Restores what was done with the signals before.
    ~OnTerminationSignal();
    OnTerminationSignal(const OnTerminationSignal&) = delete;
    OnTerminationSignal& operator=(const OnTerminationSignal&) = delete;

private:
    struct Pipe;
    std::unique_ptr<Pipe> pipe_;
};

/// Whether a signal has come to the latest OnTerminationSignal, be its call still to come or made. For calls
/// that wait without the message loop.
bool TerminationSignalled();

}  // namespace pellago
