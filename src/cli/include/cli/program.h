#pragma once

#include <string>
#include <vector>

#include "cli/context.h"
#include "cli/exit_status.h"

namespace pellago::cli {

/// Reads the arguments (without the program's name), runs the verb they name and reports its failure. Needs
/// the message loop and the process objects.
ExitStatus RunProgram(std::vector<std::string> arguments, Context context);

}  // namespace pellago::cli
