#pragma once

#include <future>
#include <string>
#include <vector>

namespace pellago {

struct StartedProgram {
    int error = 0;               ///< errno of a start that failed, else 0
    std::future<int> exit_code;  ///< comes when the program has ended; -1 when a signal ended it
};

/// Starts the program at the absolute path `command[0]` in `directory` (the present one when empty): in a
/// session of its own, with default signals and without our descriptors beyond the standard ones. Its process
/// is waited for by a thread, so that it leaves no zombie when the caller does not wait.
StartedProgram StartProgram(const std::vector<std::string>& command, const std::string& directory);

}  // namespace pellago
