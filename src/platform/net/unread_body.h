#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace pellago {

/// How many bytes of bodies have arrived that nobody has read yet, of all answers of a session together.
class UnreadTotal final {
public:
    /// `most` is what may be there, in bytes.
    explicit UnreadTotal(std::size_t most) : most_(most) {}

    bool IsExceeded() const { return bytes_ > most_; }
    bool IsUnderHalf() const { return bytes_ <= most_ / 2; }
    /// Whether so many more are likely to fit.
    bool HasRoomFor(std::size_t bytes) const { return bytes_ + bytes <= most_; }

private:
    friend class UnreadBody;
    std::size_t most_;
    std::size_t bytes_ = 0;
};

/// What has arrived of one body and was not read yet. Counted in the session's total while it is here.
class UnreadBody final {
public:
    explicit UnreadBody(std::shared_ptr<UnreadTotal> total) : total_(std::move(total)) {}
    ~UnreadBody() { Take(); }
    UnreadBody(const UnreadBody&) = delete;
    UnreadBody& operator=(const UnreadBody&) = delete;

    bool IsEmpty() const { return bytes_.empty(); }
    std::size_t Size() const { return bytes_.size(); }

    void Add(std::string_view piece) {
        bytes_.append(piece);
        total_->bytes_ += piece.size();
    }
    std::string Take() {
        total_->bytes_ -= bytes_.size();
        return std::exchange(bytes_, {});
    }
    /// Gives the memory of what was taken back, to be used again.
    void Reuse(std::string taken) {
        taken.clear();
        if (bytes_.empty()) bytes_ = std::move(taken);
    }

private:
    std::shared_ptr<UnreadTotal> total_;
    std::string bytes_;
};

}  // namespace pellago
