#pragma once

#include <cstdint>
#include <functional>

// Periodic timers without a window, fired from the message loop.
namespace pellago {

/// Milliseconds since the system started; wraps after 49.7 days.
std::uint32_t GetTickCount();

/// Fires `callback` with the tick count every `interval` milliseconds (less than 1 counts as 1) until
/// KillTimer. Ticks that come while the callback is still running are lost. Returns the timer's id, never 0.
std::int32_t SetTimer(std::int32_t interval, std::function<void(std::uint32_t tick_count)> callback);

/// Makes SetTimer wait for what `replacement` makes of the interval that it is given; an empty function
/// brings the intervals themselves back. For tests, which cannot wait for minutes.
void ReplaceTimerInterval(std::function<std::int32_t(std::int32_t interval)> replacement);

/// Ends a timer, also from inside its own callback. False for an id that is not running.
bool KillTimer(std::int32_t id);

}  // namespace pellago
