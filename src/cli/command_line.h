#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "cli/context.h"
#include "cli/exit_status.h"

namespace pellago::cli {

struct CommandLine {
    std::function<ExitStatus(const Context& context)> verb;
    std::optional<std::string> database;
    bool trace = false;
    bool errors_to_file = false;
};

/// The verb that the arguments name, or the status to end with at once: help and version were printed, or
/// the arguments are wrong and the user was told.
std::variant<CommandLine, ExitStatus> ParseCommandLine(std::vector<std::string> arguments,
                                                       const Context& context);

}  // namespace pellago::cli
