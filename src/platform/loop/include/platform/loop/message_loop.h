#pragma once

#include <functional>
#include <memory>

// The event loop of the program's one thread.
namespace pellago {

/// Owns the event loop of a program without windows. One a process, made first thing in `main`; a program
/// with windows makes its own instead. Timers, HTTP transfers and the functions below need one of them.
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

/// Handles all that is pending and returns; never waits. Anything can be called from inside. Callbacks that
/// run from the loop must not throw: an exception that leaves one ends the program.
void DoEvents();

/// Sleeps until something happens, and handles it in one pass of the loop.
void WaitForEvents();

/// Calls `callback` once from the message loop, in an event of its own.
void CallLater(std::function<void()> callback);

}  // namespace pellago
