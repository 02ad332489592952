#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "infra/lifetime.h"

namespace pellago {

/// Implemented by those who watch the messages of a window. A cSubclass does not keep its owner alive. A
/// message ends with the answer 0 where the owner throws. Calls nest: a message that is sent to the window
/// from inside one reaches the owner again.
class iSubclass {
public:
    iSubclass() = default;
    virtual ~iSubclass() = default;
    iSubclass(const iSubclass&) = delete;
    iSubclass& operator=(const iSubclass&) = delete;

    /// The previous procedure has answered `lReturn`, which may be changed.
    virtual void iSubclass_After(std::int32_t& lReturn, std::int32_t hwnd, std::int32_t uMsg,
                                 std::int32_t wParam, std::int32_t lParam) = 0;

    /// The previous procedure is about to see the message, which may be changed. With `bHandled` set the
    /// message ends here, and `lReturn` is the answer.
    virtual void iSubclass_Before(bool& bHandled, std::int32_t& lReturn, std::int32_t& hwnd,
                                  std::int32_t& uMsg, std::int32_t& wParam, std::int32_t& lParam) = 0;

private:
    friend class cSubclass;
    Lifetime lifetime_;
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

    /// Lists a message, or with -1 every message; `When` 1 means before the previous procedure, any other
    /// value after it. Only a list that grows is counted anew: a message that takes a free slot, or is listed
    /// already, is not shown while the count is 0, as it is after UnSubclass and DelMsg of -1.
    void AddMsg(std::int32_t uMsg, std::int32_t When);

    /// The answer of the previous procedure; 0 when no window is subclassed.
    std::int32_t CallOrigWndProc(std::int32_t hwnd, std::int32_t uMsg, std::int32_t wParam,
                                 std::int32_t lParam);

    /// Frees the slot of a message; -1 sets the count to 0, so that none is shown, and leaves the slots.
    void DelMsg(std::int32_t uMsg, std::int32_t When);

    /// Begins with a window of this process, and ends with the one before; the lists stay. Changes nothing
    /// for a handle that is not there. When `Owner` is gone, the next message that is listed puts the
    /// previous procedure back and is answered with 0.
    void Subclass(std::int32_t hwnd, iSubclass& Owner);

    /// Puts the previous procedure back and sets both counts to 0; does nothing when no window is subclassed.
    void UnSubclass();

private:
    struct Messages;
    struct Lists;
    struct Hook;

    Messages& ListFor(std::int32_t When) const;

    std::shared_ptr<Lists> lists_;
    std::shared_ptr<Hook> hook_;  ///< null when no window is subclassed
};

}  // namespace pellago
