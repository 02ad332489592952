#pragma once

#include <chrono>
#include <string>

#include "descriptor.h"

namespace pellago {

/// An exclusive lock on a file made for nothing else. The kernel frees it when the process that holds it
/// ends; a forked child holds none of it.
class FileLock final {
public:
    /// Waits for a lock that another holds no longer than `patience`.
    explicit FileLock(const std::string& path,
                      std::chrono::milliseconds patience = std::chrono::milliseconds(0));
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool IsHeld() const { return error_ == 0; }
    /// Why it is not held, as an errno value; EWOULDBLOCK when another holds it.
    int Error() const { return error_; }

private:
    UnsharedDescriptor file_;
    int error_ = 0;
};

}  // namespace pellago
