#pragma once

#include <string>
#include <vector>

namespace pellago {

/// Sets the flags of globals.h, tracing, and the errors-to-file log from the arguments. A switch is "/name",
/// "/name=value", or the same with "--"; case does not count. A value that does not convert leaves its flag
/// as it was, and is told of on stderr, as is a name that is none.
void ReadSwitches(const std::vector<std::string>& arguments);

/// What --help prints.
extern const char* const kUsage;

}  // namespace pellago
