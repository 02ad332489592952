#pragma once

#include <unistd.h>

#include <utility>

namespace pellago {

/// Owns a file descriptor; a negative one counts as none.
class Descriptor final {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return descriptor_; }
    bool IsOpen() const { return descriptor_ >= 0; }
    void Close() {
        if (IsOpen()) close(std::exchange(descriptor_, -1));
    }

private:
    int descriptor_;
};

}  // namespace pellago
