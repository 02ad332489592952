#pragma once

#include <unistd.h>

namespace pellago {

/// Owns a file descriptor.
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

/// Owns a descriptor that this process alone holds: it is closed in a forked child at once. What locks and
/// sockets stand for must end with their process, and not with the last of its children.
class UnsharedDescriptor final {
public:
    explicit UnsharedDescriptor(int descriptor = -1);
    ~UnsharedDescriptor();
    UnsharedDescriptor(const UnsharedDescriptor&) = delete;
    UnsharedDescriptor& operator=(const UnsharedDescriptor&) = delete;

    int Get() const { return descriptor_; }
    /// False also in a forked child.
    bool IsOpen() const { return descriptor_ >= 0; }
    void Close();

private:
    static void CloseAll();

    // A list that needs no memory: a forked child may not be able to get any.
    static UnsharedDescriptor* first;
    UnsharedDescriptor* next_;
    UnsharedDescriptor* before_ = nullptr;
    int descriptor_;
};

}  // namespace pellago
