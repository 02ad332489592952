#pragma once

#include <optional>
#include <ostream>
#include <string>

namespace pellago::cli {

/// What a verb works with: where data and messages go, and what was asked for before the verb.
struct Context {
    std::ostream& out;
    std::ostream& err;
    bool terminal = false;                ///< `out` is a terminal that understands cursor movements
    std::optional<std::string> database;  ///< of --database; otherwise the file that the settings name
};

}  // namespace pellago::cli
