#include "platform/files/runtime_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <system_error>

#include "platform/files/program.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

[[noreturn]] void RaiseUnusable(const std::string& folder, const std::string& reason) {
    throw RunTimeError(error_number::kFileAccess, "",
                       "The runtime folder " + folder + " cannot be used: " + reason);
}

std::optional<struct stat> StatusOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

/// A program started under another user's environment leaves that user's folder alone.
bool IsAnothers(const std::string& folder) {
    const auto status = StatusOf(folder);
    return status && status->st_uid != geteuid();
}

std::string ChosenFolder() {
    const auto user = std::to_string(geteuid());
    const char* named = std::getenv("XDG_RUNTIME_DIR");
    if (named && *named == '/' && !IsAnothers(named)) return JoinPath(named, "pellago");
    const auto users = "/run/user/" + user;
    if (StatusOf(users) && !IsAnothers(users)) return JoinPath(users, "pellago");
    std::error_code failure;
    const auto temporary = std::filesystem::temp_directory_path(failure);
    return JoinPath(failure ? "/tmp" : temporary.string(), "pellago-" + user);
}

}  // namespace

std::string RuntimeFolder() {
    auto folder = ChosenFolder();
    if (mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        RaiseUnusable(folder, std::generic_category().message(errno));
    struct stat status {};
    if (lstat(folder.c_str(), &status) != 0) RaiseUnusable(folder, std::generic_category().message(errno));
    if (!S_ISDIR(status.st_mode)) RaiseUnusable(folder, "It is no folder");
    if (status.st_uid != geteuid()) RaiseUnusable(folder, "It belongs to another user");
    if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) RaiseUnusable(folder, "Other users may enter it");
    return folder;
}

}  // namespace pellago
