#pragma once

#include <string>

namespace pellago {

/// The folder for what processes of one user share while they run, entered by that user alone; made when it
/// is missing. "pellago" in the folder that XDG_RUNTIME_DIR names where that is absolute and no other
/// user's, else in the user's folder of /run/user, else a folder of the user's among the temporary files.
/// Throws RunTimeError when it cannot be made or others may enter it.
std::string RuntimeFolder();

}  // namespace pellago
