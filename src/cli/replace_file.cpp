#include "replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

#include "cli/exit_status.h"

namespace pellago::cli {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kAllReadAndWrite = 0666;

class OutputFile final {
public:
    explicit OutputFile(int descriptor) : descriptor_(descriptor) {}
    ~OutputFile() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    int Descriptor() const { return descriptor_; }
    bool IsOpen() const { return descriptor_ >= 0; }

    bool Write(std::string_view bytes) const {
        while (!bytes.empty()) {
            const auto count = write(descriptor_, bytes.data(), bytes.size());
            if (count >= 0)
                bytes.remove_prefix(static_cast<std::size_t>(count));
            else if (errno != EINTR)
                return false;
        }
        return true;
    }

private:
    int descriptor_;
};

[[noreturn]] void RaiseNotWritten(const fs::path& path, int error) {
    throw Failure(ExitStatus::kNotWritable,
                  path.string() + " cannot be written: " + std::generic_category().message(error));
}

/// The rights that the file has, or that a new one gets.
mode_t RightsOf(const fs::path& path) {
    struct stat before {};
    if (stat(path.c_str(), &before) == 0) return before.st_mode & 07777U;
    const auto mask = umask(0);
    umask(mask);
    return kAllReadAndWrite & ~mask;
}

/// A file's draft, gone when it was not put into its place.
class Draft final {
public:
    explicit Draft(const fs::path& path)
        : name_(path.string() + ".XXXXXX"), file_(mkostemp(name_.data(), O_CLOEXEC)) {
        if (!file_.IsOpen()) RaiseNotWritten(path, errno);
    }
    ~Draft() {
        if (!name_.empty()) unlink(name_.c_str());
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    void Write(const fs::path& path, std::string_view bytes) {
        if (fchmod(file_.Descriptor(), RightsOf(path)) != 0 || !file_.Write(bytes) ||
            fsync(file_.Descriptor()) != 0 || rename(name_.c_str(), path.c_str()) != 0)
            RaiseNotWritten(path, errno);
        name_.clear();
    }

private:
    std::string name_;
    OutputFile file_;
};

}  // namespace

void ReplaceFile(const fs::path& path, std::string_view bytes) {
    std::error_code unknown;
    if (fs::exists(path, unknown) && !fs::is_regular_file(path, unknown)) {
        const OutputFile device(open(path.c_str(), O_WRONLY | O_CLOEXEC));
        if (!device.IsOpen() || !device.Write(bytes)) RaiseNotWritten(path, errno);
        return;
    }
    const auto target = fs::weakly_canonical(path, unknown);
    const auto& place = unknown ? path : target;
    Draft(place).Write(place, bytes);
}

}  // namespace pellago::cli
