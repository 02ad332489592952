#pragma once

#include <functional>
#include <memory>

class QApplication;

namespace pellago {

/// Owns the message loop of a program with windows. One a process, made first thing in `main`.
class Application final {
public:
    /// Ends the process with status 1 and one line on stderr where there is no display to show windows on.
    Application();
    ~Application();
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    /// Handles events until Quit; returns the exit status. At once, where Quit came first.
    static int Run();
    /// Ends Run and all loops inside it, when the call that is in progress comes back to them.
    static void Quit(int status = 0);
    /// Whether windows are being closed because the desktop's session ends.
    static bool SessionEnds();
    /// What is to be done when the desktop's session ends, in the middle of whatever is in progress: once all
    /// windows have let themselves be closed, and before Quit. Forms that are hidden are not asked.
    static void OnSessionEnd(std::function<void()> handler);

private:
    std::unique_ptr<QApplication> application_;
};

}  // namespace pellago
