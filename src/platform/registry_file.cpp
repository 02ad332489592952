#include "platform/registry_file.h"

#include <fcntl.h>
#include <sys/file.h>
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
#include <string_view>
#include <thread>
#include <utility>

#include "platform/date_time.h"
#include "platform/process.h"
#include "platform/registry.h"
#include "platform/registry_text.h"
#include "platform/terminal_text.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds kLockPatience{5};
constexpr std::chrono::milliseconds kLockInterval{2};
constexpr mode_t kOwnerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t kAllRead = kOwnerOnly | S_IRGRP | S_IROTH;

class Descriptor final {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return descriptor_; }
    bool IsOpen() const { return descriptor_ >= 0; }

private:
    int descriptor_;
};

std::string FolderOf(const std::string& path) { return fs::path(path).parent_path().string(); }

/// Where a chain of links leads, also when there is nothing yet.
std::string LinkTarget(fs::path path) {
    std::error_code failure;
    for (int links = 0; links < 40 && fs::is_symlink(path, failure); ++links)
        path = path.parent_path() / fs::read_symlink(path, failure);
    return path.string();
}

enum class Outcome { kSound, kDamaged, kFailed };

struct Loaded {
    Outcome outcome;
    RegistryNode registry;
    std::size_t damaged_line = 0;
};

/// The file's bytes, none when it is missing; nothing when it cannot be read.
std::optional<std::string> FileBytes(const std::string& path) {
    // Not blocking, lest a pipe under that name hold the program.
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.IsOpen()) return errno == ENOENT ? std::optional(std::string()) : std::nullopt;
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

/// The lock on a registry file, in a file of its own since the registry's is replaced by every change.
class Lock final {
public:
    explicit Lock(const std::string& path)
        : file_(open((path + ".lock").c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kAllRead)) {
        const auto deadline = std::chrono::steady_clock::now() + kLockPatience;
        while (file_.IsOpen() && !held_ && std::chrono::steady_clock::now() < deadline) {
            held_ = flock(file_.Get(), LOCK_EX | LOCK_NB) == 0;
            if (!held_) std::this_thread::sleep_for(kLockInterval);
        }
    }

    bool IsHeld() const { return held_; }

private:
    Descriptor file_;
    bool held_ = false;
};

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) return false;
        bytes.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

/// A renamed file is safe against a power cut only when its folder is.
void FlushFolder(const std::string& folder) {
    const Descriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.IsOpen()) fsync(descriptor.Get());
}

/// Owner and rights of the file that is to be replaced: a change made by root leaves a user's file the
/// user's.
void KeepRights(const std::string& path, int file) {
    struct stat before {};
    if (stat(path.c_str(), &before) != 0) return;
    if (fchown(file, before.st_uid, before.st_gid) == 0) fchmod(file, before.st_mode & 07777U);
}

/// Under the lock, so that the temporary file's name is free or left behind by a crash.
bool WriteRegistry(const std::string& path, const std::string& text) {
    const auto temporary = path + ".new";
    unlink(temporary.c_str());
    {
        const Descriptor file(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly));
        if (!file.IsOpen()) return false;
        KeepRights(path, file.Get());
        if (!WriteAll(file.Get(), text) || fsync(file.Get()) != 0) {
            unlink(temporary.c_str());
            return false;
        }
    }
    if (rename(temporary.c_str(), path.c_str()) != 0) {
        unlink(temporary.c_str());
        return false;
    }
    FlushFolder(FolderOf(path));
    return true;
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

/// Under the lock.
bool SetAside(const std::string& path, std::size_t damaged_line) {
    const auto aside = FreeNameFor(path);
    if (rename(path.c_str(), aside.c_str()) != 0) return false;
    FlushFolder(FolderOf(path));
    Report(path, damaged_line, " and was renamed to " + aside);
    return true;
}

/// The file as it stands, a damaged one set aside. Under the lock.
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

RegistryFile::RegistryFile(const std::string& path) : path_(LinkTarget(path)) {}

RegistryNode RegistryFile::Read() const {
    auto loaded = Load(path_);
    if (loaded.outcome != Outcome::kDamaged) return std::move(loaded.registry);
    // Read again under the lock: another process may have set the file aside, and made a sound one.
    const auto damaged_line = loaded.damaged_line;
    if (const Lock lock(path_); lock.IsHeld()) loaded = LoadOrSetAside(path_);
    if (loaded.outcome != Outcome::kSound) ReportOnce(path_, damaged_line);
    return std::move(loaded.registry);
}

RegResult RegistryFile::Change(const std::function<RegResult(RegistryNode&)>& change) const {
    if (!MakeFolder(FolderOf(path_))) return RegResult::kAccessDenied;
    const Lock lock(path_);
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
