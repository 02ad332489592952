#pragma once

#include <string>
#include <vector>

namespace pellago {

/// The tray program from its arguments, without its own name, to its exit status. Where an instance runs
/// already, what was asked for is forwarded to that one.
int Main(const std::vector<std::string>& arguments);

}  // namespace pellago
