#pragma once

#include <chrono>
#include <string>

#include "descriptor.h"

namespace pellago {

/// An exclusive lock on a file made for nothing else. The kernel frees it when the process that holds it
/// ends.
class FileLock final {
public:
    /// While another holds the lock, waits for it, but no longer than `patience`.
    explicit FileLock(const std::string& path,
                      std::chrono::milliseconds patience = std::chrono::milliseconds(0));
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool IsHeld() const { return error_ == 0; }
    /// Why it is not held, as an errno value; EWOULDBLOCK when another holds it.
    int Error() const { return error_; }

private:
    Descriptor file_;
    int error_ = 0;
};

}  // namespace pellago
