#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "cli/context.h"
#include "platform/values/run_time_error.h"

namespace pellago::cli {

/// The program's exit status; from 64 on the numbers and meanings of sysexits.h.
enum class ExitStatus : int {
    kAllWell = 0,
    kSomeFailed = 1,  ///< the run ended and some channels failed; also any failure without a number here
    kUsage = 64,
    kUnreadable = 65,  ///< a list or database file that is none, or is damaged
    kInputMissing = 66,
    kLocked = 75,
    kNotWritable = 77,
    kNewerSchema = 78,
    kStopped = 130
};

/// What the user has to be told when a verb cannot do what was asked; never leaves this folder.
class Failure final : public std::runtime_error {
public:
    Failure(ExitStatus status, const std::string& message) : std::runtime_error(message), status_(status) {}
    ExitStatus Status() const { return status_; }

private:
    ExitStatus status_;
};

/// The status that stands for a run-time error.
ExitStatus StatusOf(std::int32_t error_number);

/// A line on the error stream: "pellago: " and the message, made harmless.
void Complain(const Context& context, const std::string& message);

}  // namespace pellago::cli
