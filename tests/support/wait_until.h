#pragma once

#include <chrono>
#include <functional>

#include "platform/message_loop.h"
#include "platform/thread_timer.h"

namespace pellago::test {

/// Runs the message loop until `done` answers true; false when that takes longer than `limit`.
inline bool WaitUntil(const std::function<bool()>& done,
                      std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    bool late = false;
    const auto timer =
        SetTimer(static_cast<std::int32_t>(limit.count()), [&](std::uint32_t) { late = true; });
    while (!late && !done()) WaitForEvents();
    KillTimer(timer);
    return done();
}

/// Runs the message loop for a while.
inline void PumpFor(std::chrono::milliseconds time) {
    WaitUntil([] { return false; }, time);
}

}  // namespace pellago::test
