#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The running program: where it lives, what it is called, where its user keeps things.
namespace pellago {

/// The folder that holds the program's own files: the folder named by PELLAGO_HOME; else the executable's
/// folder while it is writable; else "pellago" in the user's data folder. The folder is made when it is
/// missing; where it cannot be made, opening a file in it fails.
std::string ProgramFolder();

/// The executable's absolute path.
std::string ProgramPath();

/// The executable's file name without extension.
std::string ProgramName();

/// What the program is for, in one line.
std::string ProgramDescription();

/// Where its users find out more.
std::string ProgramHomePage();

/// The process's arguments, without the program's path, with a blank between each two.
std::string CommandLineText();

struct Version {
    std::int32_t major;
    std::int32_t minor;
    std::int32_t revision;
};
Version ProgramVersion();
/// The three numbers joined by ".".
std::string ProgramVersionText();

/// `name` in `folder`; an absolute name stays as it is.
std::string JoinPath(const std::string& folder, const std::string& name);

/// A folder of the user after the XDG base directories: `variable` where it holds an absolute path,
/// else `below_home` in the home folder.
std::string UserFolder(const char* variable, std::string_view below_home);

/// Makes a folder, for its owner alone, and the folders above it that are missing. False when there is no
/// such folder afterwards.
bool MakeFolder(const std::string& path);

/// Gives freed memory back to the system; the run time would keep it for later.
void ReturnFreeMemory();

}  // namespace pellago
