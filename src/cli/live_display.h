#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>

namespace pellago::cli {

/// How far a run has come; texts as they came from feeds.
struct Progress {
    struct Step {
        std::string name;
        std::int32_t index = 0;
        std::int32_t count = 0;  ///< 0: there is no such step
    };
    Step provider;
    Step channel;
    std::int32_t percent = 0;
    std::string status;
    std::int32_t new_items = 0;
    std::int32_t failed = 0;
};

/// A few lines at the end of a terminal's text, drawn anew in place at most 20 times a second. Between two
/// calls the cursor stands below them and the terminal is as it was, so that a program that ends there leaves
/// nothing behind but these lines.
class LiveDisplay final {
public:
    explicit LiveDisplay(std::ostream& terminal);

    void Show(const Progress& progress);
    /// Takes the lines away, for other output or for good.
    void Clear();

private:
    std::ostream& terminal_;
    std::size_t lines_ = 0;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point last_drawn_;
};

}  // namespace pellago::cli
