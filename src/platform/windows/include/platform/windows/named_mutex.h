#pragma once

#include <memory>
#include <string>

namespace pellago {

class FileLock;

/// A mutex that the processes of one user share by its name. The kernel releases it when its owner ends, in
/// whatever way.
class NamedMutex final {
public:
    /// Owns the mutex unless another object, of this process or of another, does. Throws RunTimeError: number
    /// 5 for a name that is empty or holds "/" or a NUL, 75 when the mutex cannot be made.
    explicit NamedMutex(const std::string& name);
    /// Releases the mutex if it is owned.
    ~NamedMutex();
    NamedMutex(const NamedMutex&) = delete;
    NamedMutex& operator=(const NamedMutex&) = delete;

    /// True when another object owned the mutex as this object was made. Then this object owns nothing, and
    /// does not keep a third one from becoming the owner.
    bool AlreadyExisted() const { return !lock_; }

private:
    std::unique_ptr<const FileLock> lock_;
};

}  // namespace pellago
