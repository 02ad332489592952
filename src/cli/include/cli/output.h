#pragma once

#include <array>
#include <ostream>
#include <streambuf>

namespace pellago::cli {

/// A stream onto a file descriptor that remembers why it could not write. Unlike the standard one it can
/// tell a reader that went away (EPIPE) from a full disk.
class Output final : public std::ostream {
public:
    explicit Output(int descriptor) : std::ostream(nullptr), buffer_(descriptor) { rdbuf(&buffer_); }
    ~Output() override { flush(); }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    /// errno of the first write that failed, 0 when none has.
    int Error() const { return buffer_.error; }

private:
    class Buffer final : public std::streambuf {
    public:
        explicit Buffer(int descriptor) : descriptor_(descriptor) {
            setp(bytes_.data(), bytes_.data() + bytes_.size());
        }
        int error = 0;

    protected:
        int_type overflow(int_type character) override;
        int sync() override;

    private:
        int descriptor_;
        std::array<char, 8192> bytes_{};
    };

    Buffer buffer_;
};

}  // namespace pellago::cli
