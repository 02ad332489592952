#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace pellago::bench {

/// What a process has taken, from its start to its end.
struct Cost {
    double processor_seconds = 0;  ///< user and system
    double wall_seconds = 0;
    double peak_mib = 0;
    std::chrono::steady_clock::time_point start;
};

/// A program in a process of its own, which is killed with the object. It prints its errors on our stderr.
class MeasuredProgram final {
public:
    MeasuredProgram(const std::string& path, std::vector<std::string> arguments);
    ~MeasuredProgram();
    MeasuredProgram(const MeasuredProgram&) = delete;
    MeasuredProgram& operator=(const MeasuredProgram&) = delete;

    bool HasEnded() const;
    /// Waits for its end. Throws for any other exit status than the one expected.
    Cost Wait(int expected_status = 0);

private:
    std::string path_;
    std::chrono::steady_clock::time_point start_;
    pid_t process_ = -1;
};

}  // namespace pellago::bench
