#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pellago::data {

/// A list of keys that takes little room where each is one below the one before: newest first, most are.
class KeyList final {
public:
    std::size_t Size() const { return size_; }

    void Add(std::int64_t key) {
        if (runs_.empty() || key != runs_.back().At(size_)) runs_.push_back({size_, key});
        ++size_;
    }

    std::int64_t operator[](std::size_t index) const {
        const auto after = std::upper_bound(runs_.begin(), runs_.end(), index,
                                            [](std::size_t at, const Run& run) { return at < run.begin; });
        return std::prev(after)->At(index);
    }

private:
    struct Run {
        std::size_t begin;
        std::int64_t first;
        std::int64_t At(std::size_t index) const { return first - static_cast<std::int64_t>(index - begin); }
    };
    std::vector<Run> runs_;
    std::size_t size_ = 0;
};

}  // namespace pellago::data
