#include "file_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

#include "platform/loop/message_loop.h"

namespace pellago {
namespace {

std::string SystemError() { return std::system_category().message(errno); }

/// Why a file cannot be read, empty when it can.
std::string Obstacle(const Descriptor& file) {
    struct stat about {};
    if (!file.IsOpen() || fstat(file.Get(), &about) != 0) return SystemError();
    return S_ISREG(about.st_mode) ? "" : "Not a regular file";
}

/// Bytes read, 0 at the end, less for a failure.
ssize_t ReadPiece(const Descriptor& file, std::span<char> buffer) {
    ssize_t size = 0;
    do {
        size = read(file.Get(), buffer.data(), buffer.size());
    } while (size < 0 && errno == EINTR);
    return size;
}

}  // namespace

FileSource::FileSource(std::string path) : path_(std::move(path)) {}

void FileSource::Start(DocumentEvents events) {
    events_ = std::move(events);
    Later(&FileSource::Open);
}

void FileSource::Abort() { is_over_ = true; }

void FileSource::Later(Step step) {
    CallLater([source = weak_from_this(), step] {
        if (const auto kept = source.lock(); kept && !kept->is_over_) (*kept.*step)();
    });
}

void FileSource::Open() {
    // Without O_NONBLOCK a pipe would be waited for until somebody opens its other end.
    file_ = std::make_unique<Descriptor>(open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (const auto reason = Obstacle(*file_); !reason.empty()) return End(path_ + ": " + reason);
    events_.head({path_, ""});
    Later(&FileSource::Read);
}

void FileSource::Read() {
    std::array<char, 65536> buffer;
    const auto size = ReadPiece(*file_, buffer);
    if (size < 0) return End(SystemError());
    if (size == 0) return End({});
    events_.body({buffer.data(), static_cast<std::size_t>(size)});
    Later(&FileSource::Read);
}

void FileSource::End(const std::string& error) {
    is_over_ = true;
    file_.reset();
    events_.end(error);
}

}  // namespace pellago
