#include "platform/windows/window_messages.h"

#include <exception>
#include <map>
#include <memory>
#include <utility>

#include "message_channel.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

/// A handle is the number of the window's process and, in its lowest bits, the window's own.
constexpr int kWindowBits = 9;
constexpr std::int32_t kWindows = (1 << kWindowBits) - 1;

using Procedure = std::shared_ptr<const WindowProcedure>;

Procedure Shared(WindowProcedure procedure) {
    return std::make_shared<const WindowProcedure>(
        procedure ? std::move(procedure)
                  : [](std::int32_t, std::int32_t, std::int32_t, std::int32_t) { return 0; });
}

/// The windows of this process. A procedure may destroy its window, or be replaced, while it runs.
class Windows final {
public:
    std::int32_t Add(WindowProcedure procedure) {
        if (table_.size() >= kWindows)
            throw RunTimeError(error_number::kInternalError, "", "Too many windows");
        if (table_.empty()) OpenChannel();
        do last_ = last_ % kWindows + 1;
        while (table_.contains(Handle(last_)));
        table_[Handle(last_)] = Shared(std::move(procedure));
        return Handle(last_);
    }

    bool Remove(std::int32_t hwnd) {
        // The procedure is destroyed only when the table is in order: it may own windows too.
        const auto removed = table_.extract(hwnd);
        if (table_.empty()) channel_.reset();
        return !removed.empty();
    }

    /// Null for a handle that is not in the table.
    Procedure Find(std::int32_t hwnd) const {
        const auto found = table_.find(hwnd);
        return found == table_.end() ? nullptr : found->second;
    }

    void Replace(std::int32_t hwnd, WindowProcedure procedure) {
        table_.at(hwnd) = Shared(std::move(procedure));
    }

    void Serve() {
        if (channel_) channel_->Serve();
    }

    bool Owns(std::int32_t hwnd) const { return hwnd >> kWindowBits == number_; }

private:
    std::int32_t Handle(std::int32_t window) const { return number_ << kWindowBits | window; }

    void OpenChannel();

    std::map<std::int32_t, Procedure> table_;
    std::int32_t last_ = 0;
    std::int32_t number_ = 0;
    std::unique_ptr<MessageChannel> channel_;
};

Windows& OwnWindows() {
    static Windows windows;
    return windows;
}

std::int32_t CallProcedure(const WindowMessage& message) {
    const auto procedure = OwnWindows().Find(message.hwnd);
    if (!procedure) return 0;
    try {
        return (*procedure)(message.hwnd, message.uMsg, message.wParam, message.lParam);
    } catch (const std::exception&) {
        return 0;
    }
}

void Windows::OpenChannel() {
    // A channel that is left from an earlier application object goes first: there may be one only.
    channel_.reset();
    try {
        channel_ = std::make_unique<MessageChannel>(CallProcedure);
        number_ = channel_->Number();
    } catch (const RunTimeError&) {
        number_ = RandomProcessNumber();
    }
}

}  // namespace

void ServeMessages() { OwnWindows().Serve(); }

std::int32_t CreateWindowHandle(WindowProcedure procedure) { return OwnWindows().Add(std::move(procedure)); }

bool DestroyWindowHandle(std::int32_t hwnd) { return OwnWindows().Remove(hwnd); }

WindowProcedure SetWindowProcedure(std::int32_t hwnd, WindowProcedure procedure) {
    const auto before = OwnWindows().Find(hwnd);
    if (!before) return nullptr;
    OwnWindows().Replace(hwnd, std::move(procedure));
    return *before;
}

std::int32_t SendMessage(std::int32_t hwnd, std::int32_t message, std::int32_t w_param,
                         std::int32_t l_param) {
    if (hwnd <= 0) return 0;
    const WindowMessage sent{hwnd, message, w_param, l_param};
    return OwnWindows().Owns(hwnd) ? CallProcedure(sent) : SendToProcess(hwnd >> kWindowBits, sent);
}

}  // namespace pellago
