#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "infra/alive_flag.h"

namespace pellago {

/// Implemented by the owners of timers. A timer does not keep its owner alive, and fires no more once the
/// owner is gone.
class iTimer {
public:
    iTimer() = default;
    virtual ~iTimer() = default;
    iTimer(const iTimer&) = delete;
    iTimer& operator=(const iTimer&) = delete;

    /// `elapsed_ms` is the time since the timer's start in milliseconds; it wraps with the tick count. What
    /// iTimer_Fire throws is lost.
    virtual void iTimer_Fire(std::int32_t elapsed_ms) = 0;

private:
    friend class cTimer;
    AliveFlag alive_flag_;
};

/// A periodic timer that calls its owner's iTimer_Fire. Ticks that come while the owner is still inside a
/// previous one are lost. Released, it stops; a running timer is restarted by making a new one.
class cTimer final {
public:
    cTimer();
    ~cTimer();
    cTimer(const cTimer&) = delete;
    cTimer& operator=(const cTimer&) = delete;

    /// Fires every `interval_ms` milliseconds; not at all when no timer can be started.
    void start(std::int32_t interval_ms, iTimer& owner);

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace pellago
