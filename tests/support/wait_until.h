#pragma once

#include <chrono>
#include <functional>

#include "platform/loop/message_loop.h"
#include "platform/loop/thread_timer.h"

namespace pellago::test {

/// Runs the message loop for a while.
inline void PumpFor(std::chrono::milliseconds time) {
    bool over = false;
    const auto timer = SetTimer(static_cast<std::int32_t>(time.count()), [&](std::uint32_t) { over = true; });
    while (!over) WaitForEvents();
    KillTimer(timer);
}

template <class Action>
std::chrono::steady_clock::duration TimeOf(Action&& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::steady_clock::now() - start;
}

/// Runs the message loop until `done` answers true; false when that takes longer than `limit`. It asks after
/// every event and every few milliseconds, for what becomes true in another thread.
inline bool WaitUntil(const std::function<bool()>& done,
                      std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    const auto start = std::chrono::steady_clock::now();
    const auto timer = SetTimer(5, [](std::uint32_t) {});
    while (!done() && std::chrono::steady_clock::now() - start < limit) WaitForEvents();
    KillTimer(timer);
    return done();
}

}  // namespace pellago::test
