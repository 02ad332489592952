#include "infra/subclass.h"

#include <algorithm>
#include <utility>

#include "platform/windows/window_messages.h"

namespace pellago {
namespace {

constexpr std::int32_t kFreeSlot = -1;

}  // namespace

struct cSubclass::Messages {
    std::int32_t count = 0;
    std::vector<std::int32_t> slots;

    bool Show(std::int32_t message) const {
        if (count == kEveryMessage) return true;
        return count > 0 && message != kFreeSlot && std::ranges::find(slots, message) != slots.end();
    }

    void Add(std::int32_t message) {
        if (message == kEveryMessage) {
            count = kEveryMessage;
            return;
        }
        const auto slot = std::ranges::find_if(
            slots, [&](std::int32_t held) { return held == message || held == kFreeSlot; });
        if (slot != slots.end()) {
            *slot = message;
            return;
        }
        slots.push_back(message);
        count = static_cast<std::int32_t>(slots.size());
    }

    void Delete(std::int32_t message) {
        if (message == kEveryMessage)
            count = 0;
        else if (const auto slot = std::ranges::find(slots, message); slot != slots.end())
            *slot = kFreeSlot;
    }
};

struct cSubclass::Lists {
    Messages before;
    Messages after;
};

/// The procedure that takes the place of a window's own. It may outlive its cSubclass: in a message that is
/// on its way, or as the previous procedure of another cSubclass.
struct cSubclass::Hook {
    std::int32_t window;
    WindowProcedure previous;
    std::shared_ptr<const Lists> lists;  ///< null once the window is no longer subclassed
    iSubclass* owner;
    std::weak_ptr<const bool> owner_alive;

    std::int32_t Procedure(std::int32_t hwnd, std::int32_t message, std::int32_t w_param,
                           std::int32_t l_param) {
        bool handled = false;
        std::int32_t result = 0;
        if (lists && lists->before.Show(message)) {
            if (owner_alive.expired()) return PutBack();
            owner->iSubclass_Before(handled, result, hwnd, message, w_param, l_param);
        }
        if (handled) return result;
        result = previous(hwnd, message, w_param, l_param);
        if (lists && lists->after.Show(message)) {
            if (owner_alive.expired()) return PutBack();
            owner->iSubclass_After(result, hwnd, message, w_param, l_param);
        }
        return result;
    }

    std::int32_t PutBack() const {
        SetWindowProcedure(window, previous);
        return 0;
    }

    void Release() {
        PutBack();
        lists.reset();
    }
};

cSubclass::cSubclass() : lists_(std::make_shared<Lists>()) {}

cSubclass::~cSubclass() { UnSubclass(); }

cSubclass::Messages& cSubclass::ListFor(std::int32_t when) const {
    return when == show_message::kBefore ? lists_->before : lists_->after;
}

void cSubclass::AddMsg(std::int32_t message, std::int32_t when) { ListFor(when).Add(message); }

void cSubclass::DelMsg(std::int32_t message, std::int32_t when) { ListFor(when).Delete(message); }

std::int32_t cSubclass::CallOrigWndProc(std::int32_t hwnd, std::int32_t message, std::int32_t w_param,
                                        std::int32_t l_param) {
    // The hook is held on to, since the procedure may release this object.
    const auto hook = hook_;
    return hook ? hook->previous(hwnd, message, w_param, l_param) : 0;
}

void cSubclass::Subclass(std::int32_t hwnd, iSubclass& owner) {
    const auto hook = std::make_shared<Hook>(Hook{hwnd, nullptr, lists_, &owner, owner.alive_flag_.Watch()});
    hook->previous = SetWindowProcedure(
        hwnd, [hook](std::int32_t window, std::int32_t message, std::int32_t w_param, std::int32_t l_param) {
            return hook->Procedure(window, message, w_param, l_param);
        });
    if (!hook->previous) return;
    // The hook of the window subclassed before, which may be the same window, only passes messages on.
    if (hook_) hook_->lists.reset();
    hook_ = hook;
}

void cSubclass::UnSubclass() {
    if (!hook_) return;
    lists_->before.count = 0;
    lists_->after.count = 0;
    std::exchange(hook_, nullptr)->Release();
}

}  // namespace pellago
