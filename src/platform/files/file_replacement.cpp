#include "platform/files/file_replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include "platform/files/descriptor.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void RaiseNotWritten(const fs::path& path, int error) {
    throw RunTimeError(error_number::kFileAccess, "",
                       path.string() + " cannot be written: " + std::generic_category().message(error));
}

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto count = write(file, bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return false;
    }
    return true;
}

mode_t WithoutUmask(fs::perms rights) {
    const auto mask = umask(0);
    umask(mask);
    return static_cast<mode_t>(rights) & ~mask;
}

/// Owner and rights of the file that is to be replaced: a change made by root leaves a user's file the
/// user's. Where the group cannot be kept, the new group may do no more than everybody.
bool TakeRights(int file, const fs::path& path, fs::perms new_rights) {
    struct stat before {};
    if (stat(path.c_str(), &before) != 0) return fchmod(file, WithoutUmask(new_rights)) == 0;
    auto rights = before.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    constexpr uid_t kSameOwner = static_cast<uid_t>(-1);
    if (fchown(file, before.st_uid, before.st_gid) != 0 && fchown(file, kSameOwner, before.st_gid) != 0)
        rights = (rights & ~mode_t{S_IRWXG}) | (rights & (rights << 3U) & S_IRWXG);
    return fchmod(file, rights) == 0;
}

/// The new contents under a temporary name beside the file; removed unless they were put in its place.
class Draft final {
public:
    explicit Draft(const fs::path& path)
        : path_(path), name_(path.string() + ".XXXXXX"), file_(mkostemp(name_.data(), O_CLOEXEC)) {
        if (!file_.IsOpen()) RaiseNotWritten(path_, errno);
    }
    ~Draft() {
        if (!name_.empty()) unlink(name_.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    void Write(std::string_view bytes, fs::perms new_rights) {
        const int file = file_.Get();
        if (!TakeRights(file, path_, new_rights) || !WriteAll(file, bytes) || fsync(file) != 0 ||
            rename(name_.c_str(), path_.c_str()) != 0)
            RaiseNotWritten(path_, errno);
        name_.clear();
    }

private:
    const fs::path& path_;
    std::string name_;
    Descriptor file_;
};

}  // namespace

fs::path LinkTarget(fs::path path) {
    std::error_code failure;
    for (int links = 0; links < 40 && fs::is_symlink(path, failure); ++links)
        path = path.parent_path() / fs::read_symlink(path, failure);
    return path;
}

void FlushFolder(const fs::path& folder) {
    const Descriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (descriptor.IsOpen()) fsync(descriptor.Get());
}

void ReplaceFile(const fs::path& path, std::string_view bytes, fs::perms new_rights) {
    std::error_code unknown;
    if (fs::exists(path, unknown) && !fs::is_regular_file(path, unknown)) {
        const Descriptor device(open(path.c_str(), O_WRONLY | O_CLOEXEC));
        if (!device.IsOpen() || !WriteAll(device.Get(), bytes)) RaiseNotWritten(path, errno);
        return;
    }
    const auto target = LinkTarget(path);
    const auto canonical = fs::weakly_canonical(target, unknown);
    const auto& place = unknown ? target : canonical;
    Draft(place).Write(bytes, new_rights);
    FlushFolder(place.has_parent_path() ? place.parent_path() : ".");
}

}  // namespace pellago
