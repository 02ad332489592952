#include "platform/system/process_priority.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <unistd.h>

#include <future>
#include <thread>

#include "support/child.h"

namespace pellago {
namespace {

// In a process of its own without privilege, whose second thread stands lower than the first.
TEST(ProcessPriority, ReachesAllThreadsOrNone) {
    test::Child process([] {
        const rlimit nobody_goes_up{0, 0};
        setrlimit(RLIMIT_NICE, &nobody_goes_up);
        if (geteuid() == 0 && setuid(65534) != 0) _exit(2);
        std::promise<id_t> id;
        std::thread([&] {
            setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 15);
            id.set_value(static_cast<id_t>(gettid()));
            pause();
        }).detach();
        const auto second = id.get_future().get();
        const auto nice = [](id_t thread) { return getpriority(PRIO_PROCESS, thread); };
        const int before = nice(0);
        const int second_before = nice(second);
        for (const auto refused : {priority_class::kBelowNormal, priority_class::kRealtime, 1U})
            if (SetPriorityClass(refused) || nice(0) != before || nice(second) != second_before) _exit(3);
        _exit(SetPriorityClass(priority_class::kIdle) && nice(0) == 19 && nice(second) == 19 ? 0 : 4);
    });
    EXPECT_EQ(process.Wait(), 0);
}

}  // namespace
}  // namespace pellago
