#pragma once

#include <functional>
#include <memory>

namespace pellago {

/// For as long as an object of this class lives, SIGHUP, SIGINT and SIGTERM do not end the program: for each
/// signal that arrives the message loop makes one call. A signal that was ignored when the program was
/// started (as by nohup) stays ignored. There may be one object at a time.
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

/// Whether a signal has arrived since the latest OnTerminationSignal was made, even if its call is still to
/// come. For calls that wait without the message loop.
bool TerminationSignalled();

}  // namespace pellago
