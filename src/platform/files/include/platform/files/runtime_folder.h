#pragma once

#include <string>

namespace pellago {

/// The folder for what processes of one user share while they run: "pellago" in the folder that
/// XDG_RUNTIME_DIR names where that path is absolute and no other user's; else "pellago" in the user's folder
/// of /run/user; else a folder of the user's among the temporary files. It is made when it is missing, for
/// that user alone. Throws RunTimeError when it cannot be made or others may enter it.
std::string RuntimeFolder();

}  // namespace pellago
