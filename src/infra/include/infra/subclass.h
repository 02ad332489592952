#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "infra/alive_flag.h"

namespace pellago {

/// Stands for every message in AddMsg and DelMsg.
inline constexpr std::int32_t kEveryMessage = -1;

/// When a listed message is shown: before the window's previous procedure gets it, or, with any other number
/// than kBefore, after it.
namespace show_message {
inline constexpr std::int32_t kBefore = 1;
inline constexpr std::int32_t kAfter = 2;
}  // namespace show_message

/// Implemented by those who watch the messages of a window. A cSubclass does not keep its owner alive. A
/// message ends with the answer 0 where the owner throws. Calls nest: a message that the owner
/// sends to the window from inside a call reaches the owner again.
class iSubclass {
public:
    iSubclass() = default;
    virtual ~iSubclass() = default;
    iSubclass(const iSubclass&) = delete;
    iSubclass& operator=(const iSubclass&) = delete;

    /// The previous procedure has answered `answer`, which may be changed.
    virtual void iSubclass_After(std::int32_t& answer, std::int32_t hwnd, std::int32_t message,
                                 std::int32_t w_param, std::int32_t l_param) = 0;

    /// The previous procedure is about to see the message, which may be changed. With `handled` set the
    /// message ends here, and `answer` is the answer.
    virtual void iSubclass_Before(bool& handled, std::int32_t& answer, std::int32_t& hwnd,
                                  std::int32_t& message, std::int32_t& w_param, std::int32_t& l_param) = 0;

private:
    friend class cSubclass;
    AliveFlag alive_flag_;
};

/// Shows the messages of one window to its owner, before and after the window's own procedure gets them. May
/// be released from inside the owner's callbacks.
class cSubclass final {
public:
    cSubclass();
    /// UnSubclass.
    ~cSubclass();
    cSubclass(const cSubclass&) = delete;
    cSubclass& operator=(const cSubclass&) = delete;

    /// Lists a message, or kEveryMessage; `when` is one of show_message. Only a list that grows is counted
    /// anew: a message that takes a free slot, or is listed already, is not shown while the count is 0, as it
    /// is after UnSubclass and DelMsg of kEveryMessage.
    void AddMsg(std::int32_t message, std::int32_t when);

    /// The answer of the previous procedure; 0 when no window is subclassed.
    std::int32_t CallOrigWndProc(std::int32_t hwnd, std::int32_t message, std::int32_t w_param,
                                 std::int32_t l_param);

    /// Frees the slot of a message; kEveryMessage sets the count to 0, so that no message is shown, and
    /// leaves the slots.
    void DelMsg(std::int32_t message, std::int32_t when);

    /// Subclasses a window of this process, and lets go of the one before; the lists stay. Changes nothing
    /// for a handle that no window has. When `owner` is gone, the next message that is listed puts the
    /// previous procedure back and is answered with 0.
    void Subclass(std::int32_t hwnd, iSubclass& owner);

    /// Puts the previous procedure back and sets both counts to 0; does nothing when no window is subclassed.
    void UnSubclass();

private:
    struct Messages;
    struct Lists;
    struct Hook;

    Messages& ListFor(std::int32_t when) const;

    std::shared_ptr<Lists> lists_;
    std::shared_ptr<Hook> hook_;  ///< null when no window is subclassed
};

}  // namespace pellago
