#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace pellago {

enum class MessageBoxButtons : std::int32_t {
    kOk = 0,
    kOkCancel = 1,
    kAbortRetryIgnore = 2,
    kYesNoCancel = 3,
    kYesNo = 4,
    kRetryCancel = 5
};
enum class MessageBoxIcon : std::int32_t {
    kNone = 0,
    kCritical = 16,
    kQuestion = 32,
    kExclamation = 48,
    kInformation = 64
};
enum class MessageBoxAnswer : std::int32_t {
    kOk = 1,
    kCancel = 2,
    kAbort = 3,
    kRetry = 4,
    kIgnore = 5,
    kYes = 6,
    kNo = 7
};

struct MessageBoxRequest {
    std::string text;
    std::string caption;
    MessageBoxButtons buttons = MessageBoxButtons::kOk;
    MessageBoxIcon icon = MessageBoxIcon::kNone;
};

/// Shows a message box and waits for the answer. In a program without windows: the text on stderr, and the
/// first button (PrintMessageBox).
MessageBoxAnswer ShowMessageBox(const MessageBoxRequest& request);

/// What ShowMessageBox does in a program without windows.
MessageBoxAnswer PrintMessageBox(const MessageBoxRequest& request);

/// Makes boxes be shown by `show`; an empty function brings PrintMessageBox back.
void UseMessageBox(std::function<MessageBoxAnswer(const MessageBoxRequest& request)> show);

}  // namespace pellago
