#include "infra/timer.h"

#include "infra/guarded_routine.h"
#include "platform/loop/thread_timer.h"

namespace pellago {

struct cTimer::State {
    std::int32_t timer_id = 0;
    bool busy = false;
    std::uint32_t start_tick_count = 0;
    iTimer* owner = nullptr;
    std::weak_ptr<const bool> owner_alive;

    void Tick(std::uint32_t tick_count) {
        if (busy) return;
        busy = true;
        Try([&] { owner->iTimer_Fire(static_cast<std::int32_t>(tick_count - start_tick_count)); });
        busy = false;
    }
};

cTimer::cTimer() : state_(std::make_shared<State>()) {}

cTimer::~cTimer() { KillTimer(state_->timer_id); }

void cTimer::start(std::int32_t interval_ms, iTimer& owner) {
    state_->start_tick_count = GetTickCount();
    state_->owner = &owner;
    state_->owner_alive = owner.alive_flag_.Watch();
    // The callback knows its own timer's id: a timer that a second start has replaced must end with the
    // object, too.
    auto own_id = std::make_shared<std::int32_t>(0);
    auto tick = [own_id, timer = std::weak_ptr(state_)](std::uint32_t tick_count) {
        // The state is held on to, since the owner may release the timer while it fires.
        const auto state = timer.lock();
        if (state && !state->owner_alive.expired())
            state->Tick(tick_count);
        else
            KillTimer(*own_id);
    };
    *own_id = Try([&] { return SetTimer(interval_ms, tick); });
    state_->timer_id = *own_id;
}

}  // namespace pellago
