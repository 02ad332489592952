#include "infra/timer.h"

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <optional>
#include <stdexcept>
#include <vector>

#include "support/wait_until.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::PumpFor;
using test::WaitUntil;

struct Owner : iTimer {
    void iTimer_Fire(std::int32_t elapsed) override {
        ticks.push_back(elapsed);
        if (on_tick) on_tick();
    }
    std::vector<std::int32_t> ticks;
    std::function<void()> on_tick;
};

TEST(Timer, LosesTheTicksThatComeWhileItsOwnerIsInsideOne) {
    Owner owner;
    cTimer timer;
    owner.on_tick = [&] { PumpFor(100ms); };
    timer.start(10, owner);
    timer.start(10, owner);
    ASSERT_TRUE(WaitUntil([&] { return !owner.ticks.empty(); }));
    EXPECT_EQ(owner.ticks.size(), 1U);
    owner.on_tick = nullptr;
    EXPECT_TRUE(WaitUntil([&] { return owner.ticks.size() >= 3; }));
}

TEST(Timer, StartedTwiceRunsTwiceUntilItIsReleasedAlsoFromInsideATick) {
    Owner owner;
    std::optional<cTimer> timer(std::in_place);
    timer->start(40, owner);
    timer->start(40, owner);
    PumpFor(220ms);
    ASSERT_GE(owner.ticks.size(), 8U);
    EXPECT_GE(owner.ticks[7], 159) << "since its start";
    owner.ticks.clear();
    owner.on_tick = [&] { timer.reset(); };
    PumpFor(100ms);
    EXPECT_EQ(owner.ticks.size(), 1U);
}

TEST(Timer, GoesOnAfterATickThatFailedAndFiresNoMoreOnceItsOwnerIsGone) {
    int count = 0;
    cTimer timer;
    std::optional<Owner> owner(std::in_place);
    owner->on_tick = [&] {
        ++count;
        throw std::runtime_error("failed");
    };
    timer.start(5, *owner);
    ASSERT_TRUE(WaitUntil([&] { return count >= 2; }));
    owner.reset();
    const int before = count;
    PumpFor(50ms);
    EXPECT_EQ(count, before);
}

}  // namespace
}  // namespace pellago
