#include "app/main/main_window.h"
#include "infra/guarded_routine.h"

namespace pellago {
namespace {

/// A run that is asked for begins after this time: the sender, which waits for the answer, is gone by then.
constexpr std::int32_t kDeferMs = 300;

}  // namespace

void frmMain::iSubclass_Before(bool& handled, std::int32_t& answer, std::int32_t& /*hwnd*/,
                               std::int32_t& message, std::int32_t& w_param, std::int32_t& /*l_param*/) {
    IgnoringErrors([&](Statements& run) {
        handled = true;
        switch (message) {
            case WM_CMD_UPDATE_CHANNEL:
            case WM_CMD_UPDATE_PROVIDER:
            case WM_CMD_UPDATE_ALL:
            case WM_CMD_RESET_TIMER:
                run([&] { Defer(message, w_param); });
                break;
            case WM_CMD_SHOW:
                run([&] { ShowInFront(); });
                break;
            case WM_CMD_CLOSE:
                run([&] { Unload(); });
                break;
            case WM_CMD_CLOSE_IF_IDLE:
                // The smallest number has no negative: any program may send it.
                answer = dbu_ ? static_cast<std::int32_t>(0U - static_cast<std::uint32_t>(w_param)) : w_param;
                if (!dbu_) run([&] { Unload(); });
                break;
            default:
                handled = false;
        }
    });
}

void frmMain::iSubclass_After(std::int32_t& /*answer*/, std::int32_t /*hwnd*/, std::int32_t /*message*/,
                              std::int32_t /*w_param*/, std::int32_t /*l_param*/) {}

void frmMain::Defer(std::int32_t message, std::int32_t param) {
    pending_message_ = message;
    pending_param_ = param;
    StartTimer(kDeferMs);
}

void frmMain::StartTimer(std::int32_t interval) {
    update_timer_ = std::make_unique<cTimer>();
    update_timer_->start(interval, *this);
}

void frmMain::iTimer_Fire(std::int32_t /*elapsed_ms*/) {
    IgnoringErrors([&](Statements& run) {
        // The command waits until the question whether to close is answered: a run would not let that be
        // heard.
        if (asking_) return run([&] { StartTimer(kDeferMs); });
        run([&] { update_timer_.reset(); });
        if (!dbu_) run([&] { RunPending(); });
        run([&] { StartUpdateTimer(); });
    });
}

void frmMain::RunPending() {
    switch (pending_message_) {
        case 0:
        case WM_CMD_UPDATE_ALL:
            return StartUpdate(update_mode::kAll, 0);
        case WM_CMD_UPDATE_PROVIDER:
            return StartUpdate(update_mode::kProvider, pending_param_);
        case WM_CMD_UPDATE_CHANNEL:
            return StartUpdate(update_mode::kChannel, pending_param_);
        default:
            return;
    }
}

}  // namespace pellago
