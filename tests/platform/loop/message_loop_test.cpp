#include "platform/loop/message_loop.h"

#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <vector>

#include "platform/loop/termination_signal.h"
#include "platform/loop/thread_timer.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(ThreadTimer, TicksWithoutDrift) {
    const auto start = GetTickCount();
    std::vector<std::uint32_t> ticks;
    const auto timer = SetTimer(40, [&](std::uint32_t tick_count) { ticks.push_back(tick_count - start); });
    EXPECT_TRUE(test::WaitUntil([&] { return ticks.size() == 10; }));
    EXPECT_TRUE(KillTimer(timer));
    EXPECT_GE(ticks.back(), 399U);
    EXPECT_LT(ticks.back(), 600U);
}

TEST(ThreadTimer, CanBeKilledInsideItsOwnCallbackAndByAnother) {
    int first_ticks = 0;
    int second_ticks = 0;
    std::int32_t first = 0;
    const auto second = SetTimer(20, [&](std::uint32_t) { ++second_ticks; });
    first = SetTimer(1, [&, owned = std::vector<int>(100, 1)](std::uint32_t) {
        EXPECT_TRUE(KillTimer(first));
        EXPECT_TRUE(KillTimer(second));
        first_ticks += owned.back();
    });
    test::PumpFor(60ms);
    EXPECT_EQ(first_ticks, 1);
    EXPECT_EQ(second_ticks, 0);
    EXPECT_FALSE(KillTimer(first));
    EXPECT_FALSE(KillTimer(0));
}

void RememberedHandler(int) {}

TEST(TerminationSignal, ComesFromTheMessageLoopUnlessIgnoredAndLeavesTheOldDispositions) {
    const auto before_term = signal(SIGTERM, RememberedHandler);
    const auto before_int = signal(SIGINT, SIG_IGN);
    std::vector<int> arrived;
    {
        const OnTerminationSignal watch([&](int number) { arrived.push_back(number); });
        raise(SIGINT);
        EXPECT_FALSE(TerminationSignalled());
        raise(SIGTERM);
        EXPECT_TRUE(TerminationSignalled());
        EXPECT_THAT(arrived, ElementsAre()) << "called in the middle of something";
        EXPECT_TRUE(test::WaitUntil([&] { return !arrived.empty(); }));
    }
    EXPECT_THAT(arrived, ElementsAre(SIGTERM));
    EXPECT_TRUE(TerminationSignalled());
    EXPECT_FALSE((OnTerminationSignal([](int) {}), TerminationSignalled()));
    EXPECT_EQ(signal(SIGTERM, before_term), RememberedHandler);
    EXPECT_EQ(signal(SIGINT, before_int), SIG_IGN);
}

}  // namespace
}  // namespace pellago
