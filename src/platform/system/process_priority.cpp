#include "platform/system/process_priority.h"

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "platform/values/text.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;

struct Thread {
    id_t id;
    int nice;
};

std::optional<int> NiceOf(std::uint32_t priority_class) {
    constexpr std::pair<std::uint32_t, int> kNiceValues[] = {
        {priority_class::kRealtime, -20},   {priority_class::kHigh, -10},
        {priority_class::kAboveNormal, -5}, {priority_class::kNormal, 0},
        {priority_class::kBelowNormal, 10}, {priority_class::kIdle, 19},
    };
    for (const auto& [each, nice] : kNiceValues)
        if (each == priority_class) return nice;
    return std::nullopt;
}

/// The threads of this process with another nice value than `nice`; the one with the highest value first.
std::vector<Thread> ThreadsWithout(int nice) {
    std::vector<Thread> threads;
    std::error_code failure;
    for (fs::directory_iterator entry("/proc/self/task", failure), end; !failure && entry != end;
         entry.increment(failure)) {
        const auto id = static_cast<id_t>(LongFromText(entry->path().filename().string()));
        errno = 0;
        const int present = getpriority(PRIO_PROCESS, id);
        // A thread may have ended in the meantime.
        if (errno == 0 && present != nice) threads.push_back({id, present});
    }
    std::ranges::sort(threads, std::greater(), &Thread::nice);
    return threads;
}

}  // namespace

// On Linux a nice value belongs to a thread. A process without privilege may raise every nice value and lower
// none. So the threads whose value is to be lowered come first: if that is refused, nothing has changed yet.
bool SetPriorityClass(std::uint32_t priority_class) {
    const auto nice = NiceOf(priority_class);
    if (!nice) return false;
    // Repeated until no such thread is left, since one that starts meanwhile begins with the nice value of
    // the thread that made it. The bound is for systems that accept the call and do nothing.
    constexpr int kPasses = 16;
    for (int pass = 0; pass < kPasses; ++pass) {
        const auto threads = ThreadsWithout(*nice);
        if (threads.empty()) return true;
        for (const auto& thread : threads)
            if (setpriority(PRIO_PROCESS, thread.id, *nice) != 0 && errno != ESRCH) return false;
    }
    return false;
}

}  // namespace pellago
