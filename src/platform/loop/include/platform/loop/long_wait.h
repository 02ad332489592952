#pragma once

#include <functional>

// Waits in which the message loop does not turn: for another process's lock on the database, and for another
// program's answer to a message.
namespace pellago {

/// Makes such waits call `go_on` every few milliseconds. Since it is called in the middle of a statement or a
/// message, `go_on` must neither use a database nor send messages. Its answer false cuts the wait short.
/// After an empty function nothing is called any more.
void OnLongWait(std::function<bool()> go_on);

/// Asked by whoever waits: false when the wait is to be cut short, because of a termination signal or because
/// the function given to OnLongWait says so.
bool LongWaitGoesOn();

}  // namespace pellago
