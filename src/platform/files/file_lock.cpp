#include "platform/files/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <thread>

namespace pellago {
namespace {

constexpr std::chrono::milliseconds kInterval{2};
constexpr mode_t kAllRead = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

}  // namespace

FileLock::FileLock(const std::string& path, std::chrono::milliseconds patience)
    : file_(open(path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kAllRead)) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    const auto lock = [&] { error_ = flock(file_.Get(), LOCK_EX | LOCK_NB) == 0 ? 0 : errno; };
    if (!file_.IsOpen()) {
        error_ = errno;
        return;
    }
    for (lock(); error_ != 0 && std::chrono::steady_clock::now() < deadline; lock())
        std::this_thread::sleep_for(kInterval);
}

FileLock::~FileLock() {
    // Said to the kernel, and not left to the closing of the file: a program that is being started holds our
    // descriptors for a moment.
    if (IsHeld() && file_.IsOpen()) flock(file_.Get(), LOCK_UN);
}

}  // namespace pellago
