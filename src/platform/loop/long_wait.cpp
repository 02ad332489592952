#include "platform/loop/long_wait.h"

#include <utility>

#include "platform/loop/termination_signal.h"

namespace pellago {
namespace {

std::function<bool()>& GoOn() {
    static std::function<bool()> go_on;
    return go_on;
}

}  // namespace

void OnLongWait(std::function<bool()> go_on) { GoOn() = std::move(go_on); }

bool LongWaitGoesOn() { return !TerminationSignalled() && (!GoOn() || GoOn()()); }

}  // namespace pellago
