#include "platform/loop/thread_timer.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimerEvent>
#include <algorithm>
#include <ctime>
#include <map>
#include <memory>
#include <utility>

#include "platform/values/replaceable.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

using Callback = std::function<void(std::uint32_t)>;

/// All timers of the process.
class Timers final : public QObject {
public:
    using QObject::QObject;

    std::int32_t Start(std::int32_t interval, Callback callback) {
        const int id = startTimer(std::max(interval, 1), Qt::PreciseTimer);
        if (id == 0) throw RunTimeError(error_number::kInternalError, "", "The timer cannot be started");
        running_[id] = std::make_shared<const Callback>(std::move(callback));
        return id;
    }

    bool Kill(std::int32_t id) {
        if (running_.erase(id) == 0) return false;
        killTimer(id);
        return true;
    }

protected:
    void timerEvent(QTimerEvent* event) noexcept override {
        const auto found = running_.find(event->timerId());
        if (found == running_.end()) return;
        // Kept alive, since the callback may kill its own timer.
        const auto callback = found->second;
        (*callback)(GetTickCount());
    }

private:
    std::map<std::int32_t, std::shared_ptr<const Callback>> running_;
};

QPointer<Timers> timers;

std::int32_t SameInterval(std::int32_t interval) { return interval; }

Replaceable interval_of_timers(SameInterval);

Timers& AllTimers() {
    if (auto* known = timers.data()) return *known;
    auto* application = QCoreApplication::instance();
    if (!application) throw RunTimeError(error_number::kObjectNotSet, "", "There is no message loop");
    auto* made = new Timers(application);  // owned by the application
    timers = made;
    return *made;
}

}  // namespace

std::uint32_t GetTickCount() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<std::uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
}

std::int32_t SetTimer(std::int32_t interval, std::function<void(std::uint32_t tick_count)> callback) {
    return AllTimers().Start(interval_of_timers(interval), std::move(callback));
}

void ReplaceTimerInterval(std::function<std::int32_t(std::int32_t interval)> replacement) {
    interval_of_timers.Replace(std::move(replacement));
}

bool KillTimer(std::int32_t id) {
    auto* known = timers.data();
    return known && known->Kill(id);
}

}  // namespace pellago
