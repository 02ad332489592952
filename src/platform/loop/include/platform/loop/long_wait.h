#pragma once

#include <functional>

// Waits in which the message loop does not turn: for another process's lock on the database, and for another
// program's answer to a message.
namespace pellago {

/// Makes such waits call `go_on` every few milliseconds, in the middle of whatever waits: it must neither use
/// a database nor send messages. The answer false cuts the wait short. An empty function ends that.
void OnLongWait(std::function<bool()> go_on);

/// For those who wait: false when the program is to end, be it by a termination signal or by what was given
/// to OnLongWait.
bool LongWaitGoesOn();

}  // namespace pellago
