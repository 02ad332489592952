#pragma once

#include <cstdint>
#include <functional>

// Windows as other parts of the program and other programs of the same user see them: a 32-bit handle, and a
// procedure that gets the messages sent to it.
namespace pellago {

/// Gets a message and answers it. An exception that leaves it is lost, and the answer is 0; so it is for a
/// window with an empty procedure.
using WindowProcedure = std::function<std::int32_t(std::int32_t hwnd, std::int32_t message,
                                                   std::int32_t w_param, std::int32_t l_param)>;

/// Enters a window into the table; the handle is above 0, and not used again soon after its window. Other
/// processes reach it while the message loop runs. Where there was no message loop or no usable runtime
/// folder when the process's first window was made, only this process does. Throws RunTimeError when 511
/// windows are there already.
std::int32_t CreateWindowHandle(WindowProcedure procedure);

/// False for a handle that is not in this process's table.
bool DestroyWindowHandle(std::int32_t hwnd);

/// Puts another procedure in the place of a window's and returns the one before. Empty, and nothing changed,
/// for a handle that is not in this process's table.
WindowProcedure SetWindowProcedure(std::int32_t hwnd, WindowProcedure procedure);

/// Sends a message and waits for the answer. A window of this process gets it as a direct call. One of
/// another process of the same user gets it from that process's message loop; the loop here does not turn
/// meanwhile, but messages that arrive are answered, so that two processes can send to each other at once. 0
/// at once for a window that is not there, and after 5 seconds for one that does not answer; such a one may
/// still get the message later.
std::int32_t SendMessage(std::int32_t hwnd, std::int32_t message, std::int32_t w_param, std::int32_t l_param);

/// Answers one message of another process, if there is one; the message loop does not turn. To be called
/// again and again by whoever waits in a long call.
void ServeMessages();

}  // namespace pellago
