#pragma once

#include <string>

// What the user's session starts at log-in, by the autostart folder that freedesktop.org describes.
namespace pellago {

/// Makes the session start `command` from the next log-in on: the file `name`.desktop in the user's autostart
/// folder. The program's path stands in double quotes, which reach to the last quote of the command;
/// arguments follow. False when the file cannot be written.
bool AddToAutostart(const std::string& name, const std::string& command);

/// True when there is no such entry afterwards.
bool RemoveFromAutostart(const std::string& name);

}  // namespace pellago
