#pragma once

#include <memory>

class QApplication;

namespace pellago {

/// Owns the message loop of a program with windows. One a process, made first thing in `main`, once a display
/// is known to be there.
class Application final {
public:
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

private:
    std::unique_ptr<QApplication> application_;
};

}  // namespace pellago
