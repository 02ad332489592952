#include "platform/registry/registry_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <optional>
#include <set>
#include <utility>

#include "platform/files/descriptor.h"
#include "platform/files/file_lock.h"
#include "platform/files/file_replacement.h"
#include "platform/files/program.h"
#include "platform/registry/registry_text.h"
#include "platform/values/date_time.h"
#include "platform/values/run_time_error.h"
#include "platform/values/terminal_text.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kLockPatience{5};

std::string FolderOf(const std::string& path) { return fs::path(path).parent_path().string(); }

enum class Outcome { kSound, kDamaged, kFailed };

struct Loaded {
    Outcome outcome;
    RegistryNode registry;
    std::size_t damaged_line = 0;
};

/// The file's bytes, none when it is missing; nothing when it cannot be read.
std::optional<std::string> FileBytes(const std::string& path) {
    // Without waiting: if the path is a pipe, nobody may ever write to it.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.IsOpen()) return errno == ENOENT ? std::optional(std::string()) : std::nullopt;
    struct stat status {};
    if (fstat(file.Get(), &status) != 0 || S_ISFIFO(status.st_mode)) return std::nullopt;
    std::string bytes;
    std::array<char, 16384> block{};
    for (;;) {
        const auto count = read(file.Get(), block.data(), block.size());
        if (count < 0) return std::nullopt;
        if (count == 0) return bytes;
        bytes.append(block.data(), static_cast<std::size_t>(count));
    }
}

Loaded Load(const std::string& path) {
    const auto bytes = FileBytes(path);
    if (!bytes) return {Outcome::kFailed, RegistryNode()};
    auto parsed = ParseRegistry(*bytes);
    const auto outcome = parsed.damaged_line == 0 ? Outcome::kSound : Outcome::kDamaged;
    return {outcome, std::move(parsed.registry), parsed.damaged_line};
}

/// The lock is on a file of its own, since every change puts another file in the registry's place.
FileLock LockOf(const std::string& path) { return FileLock(path + ".lock", kLockPatience); }

bool WriteRegistry(const std::string& path, const std::string& text) {
    try {
        ReplaceFile(path, text, fs::perms::owner_read | fs::perms::owner_write);
        return true;
    } catch (const RunTimeError&) {
        return false;
    }
}

void Report(const std::string& path, std::size_t line, const std::string& what_then) {
    std::cerr << TerminalText(path + ", line " + std::to_string(line) + ": the settings file is damaged" +
                              what_then)
              << std::endl;
}

std::string FreeNameFor(const std::string& path) {
    auto time = ColumnText(Now());
    std::erase_if(time, [](char c) { return c == '-' || c == ':'; });
    std::ranges::replace(time, ' ', '-');
    const auto name = path + ".damaged-" + time;
    auto free = name;
    std::error_code failure;
    for (int n = 2; fs::exists(fs::symlink_status(free, failure)); ++n) free = name + "-" + std::to_string(n);
    return free;
}

/// To be called under the lock.
bool SetAside(const std::string& path, std::size_t damaged_line) {
    const auto aside = FreeNameFor(path);
    if (rename(path.c_str(), aside.c_str()) != 0) return false;
    FlushFolder(FolderOf(path));
    Report(path, damaged_line, " and was renamed to " + aside);
    return true;
}

/// What the file holds; nothing when it is damaged, and then it is set aside. To be called under the lock.
Loaded LoadOrSetAside(const std::string& path) {
    auto loaded = Load(path);
    if (loaded.outcome == Outcome::kDamaged)
        loaded.outcome = SetAside(path, loaded.damaged_line) ? Outcome::kSound : Outcome::kFailed;
    return loaded;
}

void ReportOnce(const std::string& path, std::size_t damaged_line) {
    static std::set<std::string> reported;
    if (reported.insert(path).second) Report(path, damaged_line, " and counts as empty");
}

}  // namespace

RegistryFile::RegistryFile(const std::string& path) : path_(LinkTarget(path).string()) {}

RegistryNode RegistryFile::Read() const {
    auto loaded = Load(path_);
    if (loaded.outcome != Outcome::kDamaged) return std::move(loaded.registry);
    // Read again under the lock: in the meantime another process may have set the damaged file aside and made
    // a sound one.
    const auto damaged_line = loaded.damaged_line;
    if (const auto lock = LockOf(path_); lock.IsHeld()) loaded = LoadOrSetAside(path_);
    if (loaded.outcome != Outcome::kSound) ReportOnce(path_, damaged_line);
    return std::move(loaded.registry);
}

RegResult RegistryFile::Change(const std::function<RegResult(RegistryNode&)>& change) const {
    if (!MakeFolder(FolderOf(path_))) return RegResult::kAccessDenied;
    const auto lock = LockOf(path_);
    if (!lock.IsHeld()) return RegResult::kAccessDenied;
    auto loaded = LoadOrSetAside(path_);
    if (loaded.outcome == Outcome::kFailed) return RegResult::kAccessDenied;
    const auto before = RegistryText(loaded.registry);
    const auto result = change(loaded.registry);
    if (result != RegResult::kSuccess) return result;
    const auto after = RegistryText(loaded.registry);
    if (after == before) return result;
    return WriteRegistry(path_, after) ? result : RegResult::kAccessDenied;
}

}  // namespace pellago
