#pragma once

#include <functional>
#include <memory>

// The event loop of the program's one thread.
namespace pellago {

/// Owns the event loop of a program without windows. A process has one, made first thing in `main`; a program
/// with windows makes an `Application` (desktop) instead. Timers, HTTP transfers and the functions below need
/// either.
class MessageLoop final {
public:
    MessageLoop();
    ~MessageLoop();
    MessageLoop(const MessageLoop&) = delete;
    MessageLoop& operator=(const MessageLoop&) = delete;

private:
    struct Application;
    std::unique_ptr<Application> application_;
};

/// Handles all events that are pending and returns; never waits. The handlers may call anything, this
/// function included. A callback that runs from the loop must not throw: an exception that leaves it ends the
/// program.
void DoEvents();

/// Sleeps until something happens, and handles it in one pass of the loop.
void WaitForEvents();

/// Calls `callback` once from the message loop, in an event of its own.
void CallLater(std::function<void()> callback);

}  // namespace pellago
