#include "platform/files/program.h"

#include <malloc.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace pellago {
namespace {

namespace fs = std::filesystem;

std::string Environment(const char* variable) {
    const char* value = std::getenv(variable);
    return value ? value : "";
}

const fs::path& Executable() {
    static const fs::path executable = [] {
        std::error_code failure;
        auto path = fs::read_symlink("/proc/self/exe", failure).string();
        // What the kernel adds for a program whose file was replaced while it runs, by an update for example.
        constexpr std::string_view kReplaced = " (deleted)";
        if (path.ends_with(kReplaced)) path.resize(path.size() - kReplaced.size());
        return fs::path(path);
    }();
    return executable;
}

std::string HomeFolder() {
    auto home = Environment("HOME");
    if (!home.empty()) return home;
    const auto* user = getpwuid(geteuid());
    return user ? user->pw_dir : "/";
}

std::string ChosenProgramFolder() {
    const auto named = Environment("PELLAGO_HOME");
    if (!named.empty()) return fs::absolute(named).string();
    auto folder = Executable().parent_path().string();
    if (!folder.empty() && access(folder.c_str(), W_OK | X_OK) == 0) return folder;
    return JoinPath(UserFolder("XDG_DATA_HOME", ".local/share"), "pellago");
}

}  // namespace

std::string ProgramFolder() {
    auto folder = ChosenProgramFolder();
    MakeFolder(folder);
    return folder;
}

std::string ProgramPath() { return Executable().string(); }

std::string ProgramName() { return Executable().stem().string(); }

std::string CommandLineText() {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::string argument;
    std::string text;
    std::getline(file, argument, '\0');
    while (std::getline(file, argument, '\0')) text += (text.empty() ? "" : " ") + argument;
    return text;
}

Version ProgramVersion() { return {PELLAGO_VERSION_MAJOR, PELLAGO_VERSION_MINOR, PELLAGO_VERSION_REVISION}; }

std::string ProgramVersionText() {
    const auto [major, minor, revision] = ProgramVersion();
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision);
}

std::string ProgramHomePage() { return PELLAGO_HOME_PAGE; }

std::string ProgramDescription() { return PELLAGO_DESCRIPTION; }

std::string JoinPath(const std::string& folder, const std::string& name) {
    return (fs::path(folder) / name).string();
}

std::string UserFolder(const char* variable, std::string_view below_home) {
    auto named = Environment(variable);
    return named.starts_with('/') ? named : JoinPath(HomeFolder(), std::string(below_home));
}

bool MakeFolder(const std::string& path) {
    std::error_code failure;
    if (fs::create_directories(path, failure)) fs::permissions(path, fs::perms::owner_all, failure);
    return fs::is_directory(path, failure);
}

void ReturnFreeMemory() { malloc_trim(0); }

}  // namespace pellago
