#include "platform/message_loop.h"

#include <gmock/gmock.h>
#include <signal.h>

#include <chrono>
#include <ctime>
#include <vector>

#include "platform/termination_signal.h"
#include "platform/thread_timer.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(MessageLoop, SleepsWhileItWaits) {
    const auto processor_time = std::clock();
    test::PumpFor(300ms);
    EXPECT_LT(static_cast<double>(std::clock() - processor_time) / CLOCKS_PER_SEC, 0.05);
}

TEST(MessageLoop, HandlesNothingPendingFastAndWithoutWaiting) {
    const auto start = std::chrono::steady_clock::now();
    for (int call = 0; call < 1000; ++call) DoEvents();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
}

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

TEST(ThreadTimer, GoesOnWhileAnotherOnesCallbackRunsTheLoop) {
    int inner_ticks = 0;
    int outer_ticks = 0;
    bool done = false;
    const auto inner = SetTimer(5, [&](std::uint32_t) { ++inner_ticks; });
    const auto outer = SetTimer(1, [&](std::uint32_t) {
        ++outer_ticks;
        EXPECT_TRUE(test::WaitUntil([&] { return inner_ticks >= 3; }));
        done = true;
    });
    EXPECT_TRUE(test::WaitUntil([&] { return done; }));
    EXPECT_EQ(outer_ticks, 1) << "a timer fired inside its own callback";
    KillTimer(inner);
    KillTimer(outer);
}

void RememberedHandler(int) {}

TEST(TerminationSignal, ComesFromTheMessageLoopAndLeavesTheOldDisposition) {
    const auto before = signal(SIGTERM, RememberedHandler);
    std::vector<int> arrived;
    {
        const OnTerminationSignal watch([&](int number) { arrived.push_back(number); });
        raise(SIGINT);
        raise(SIGTERM);
        EXPECT_THAT(arrived, ElementsAre()) << "called in the middle of something";
        EXPECT_TRUE(test::WaitUntil([&] { return arrived.size() == 2; }));
    }
    EXPECT_THAT(arrived, ElementsAre(SIGINT, SIGTERM));
    EXPECT_EQ(signal(SIGTERM, before), RememberedHandler);
}

TEST(TerminationSignal, StaysIgnoredWhereItWas) {
    const auto before = signal(SIGINT, SIG_IGN);
    {
        const OnTerminationSignal watch([](int) { ADD_FAILURE(); });
        raise(SIGINT);
        DoEvents();
    }
    signal(SIGINT, before);
}

}  // namespace
}  // namespace pellago
