#pragma once

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "support/support.h"

namespace pellago::test {

inline void WriteScript(const std::string& path, const std::string& commands) {
    WriteFile(path, "#!/bin/sh\n" + commands + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
}

/// An xdg-open, first in PATH while the object lives, that notes how it was called.
class StandInOpener final {
public:
    StandInOpener() { EndsWith("exit 0"); }

    /// From now on it ends with these shell commands.
    void EndsWith(const std::string& commands) const {
        WriteScript(folder_ / "xdg-open", "printf '%s\\0' \"$@\" > '" + Notes() + "'\n" + commands);
    }

    /// The arguments of the last call; none when there was no call since they were last taken.
    std::vector<std::string> TakeArguments() const {
        std::vector<std::string> arguments;
        if (!std::filesystem::exists(Notes())) return arguments;
        std::istringstream notes(ReadFile(Notes()));
        for (std::string argument; std::getline(notes, argument, '\0');) arguments.push_back(argument);
        std::filesystem::remove(Notes());
        return arguments;
    }

private:
    std::string Notes() const { return folder_ / "notes"; }

    TempDir folder_;
    EnvVar path_{"PATH", folder_.Path().string() + ":/usr/bin:/bin"};
};

}  // namespace pellago::test
