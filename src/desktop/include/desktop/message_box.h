#pragma once

#include <functional>

#include "platform/system/message_box.h"

namespace pellago {

/// The message box of a program with windows; every Application uses it. The text is plain text. Escape and
/// the close box answer as the button that takes nothing upon itself: Cancel, No, Abort, or the only one.
MessageBoxAnswer ShowMessageBoxWindow(const MessageBoxRequest& request);

/// Sounds the system's beep.
void MessageBeep();

/// Makes MessageBeep call `beep`; an empty function brings the sound back. For tests.
void ReplaceMessageBeep(std::function<void()> beep);

}  // namespace pellago
