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

TEST(Timer, TellsTheTimeSinceItsStart) {
    Owner owner;
    cTimer timer;
    timer.start(20, owner);
    ASSERT_TRUE(WaitUntil([&] { return owner.ticks.size() >= 4; }));
    EXPECT_GE(owner.ticks[0], 19);
    EXPECT_LT(owner.ticks[0], 60);
    EXPECT_GE(owner.ticks[3], 79);
}

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

TEST(Timer, StopsWhenItIsReleasedAlsoFromInsideATick) {
    Owner owner;
    std::optional<cTimer> timer(std::in_place);
    owner.on_tick = [&] { timer.reset(); };
    timer->start(5, owner);
    ASSERT_TRUE(WaitUntil([&] { return !owner.ticks.empty(); }));
    PumpFor(50ms);
    EXPECT_EQ(owner.ticks.size(), 1U);
}

TEST(Timer, FiresNoMoreOnceItsOwnerIsGone) {
    struct Counter : iTimer {
        explicit Counter(int& count) : count_(count) {}
        void iTimer_Fire(std::int32_t) override { ++count_; }
        int& count_;
    };
    int count = 0;
    cTimer timer;
    std::optional<Counter> owner(std::in_place, count);
    timer.start(5, *owner);
    ASSERT_TRUE(WaitUntil([&] { return count > 0; }));
    owner.reset();
    count = 0;
    PumpFor(50ms);
    EXPECT_EQ(count, 0);
}

TEST(Timer, StartedTwiceRunsTwiceUntilItIsReleased) {
    Owner owner;
    std::optional<cTimer> timer(std::in_place);
    timer->start(40, owner);
    timer->start(40, owner);
    PumpFor(220ms);
    EXPECT_GE(owner.ticks.size(), 8U);
    timer.reset();
    owner.ticks.clear();
    PumpFor(100ms);
    EXPECT_TRUE(owner.ticks.empty());
}

TEST(Timer, GoesOnAfterATickThatFailed) {
    Owner owner;
    cTimer timer;
    owner.on_tick = [] { throw std::runtime_error("failed"); };
    timer.start(5, owner);
    EXPECT_TRUE(WaitUntil([&] { return owner.ticks.size() >= 2; }));
}

}  // namespace
}  // namespace pellago
