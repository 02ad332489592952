#pragma once

#include <vector>

#include "platform/data/command.h"

namespace pellago {

/// A command of DE1 as it is declared.
struct CommandDeclaration {
    const char* name;
    bool has_recordset;  ///< named "rs" plus the command's name
    const char* text;
    std::vector<Parameter> parameters;
};

/// All commands, in their declared order.
const std::vector<CommandDeclaration>& DeclaredCommands();

}  // namespace pellago
