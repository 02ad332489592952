#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace pellago {

/// Numbers of the run-time errors that the program itself raises.
namespace error_number {
inline constexpr std::int32_t kInvalidProcedureCall = 5;
inline constexpr std::int32_t kOverflow = 6;
inline constexpr std::int32_t kTypeMismatch = 13;
inline constexpr std::int32_t kInternalError = 51;
inline constexpr std::int32_t kFileAccess = 75;
inline constexpr std::int32_t kObjectNotSet = 91;
/// Base of the errors that components raise: 0x80040000 plus a number of the component's own.
inline constexpr std::int32_t kObjectErrorBase = -2147221504;
}  // namespace error_number

/// The one exception that crosses a folder. `what()` is the description.
class RunTimeError : public std::runtime_error {
public:
    RunTimeError(std::int32_t number, std::string source, const std::string& description);

    std::int32_t Number() const { return number_; }
    const std::string& Source() const { return source_; }
    std::string Description() const { return what(); }

private:
    std::int32_t number_;
    std::string source_;
};

/// What is known about a failure, as the error handler takes it.
struct ErrorInfo {
    std::int32_t number = 0;
    std::string source;
    std::string description;
    std::int32_t line = 0;  ///< source line of the failing statement, 0 when none is known
};

/// The error that is current on this thread; set by the routine that caught it, before it asks for a
/// decision.
ErrorInfo& Err();

/// The exception being handled as an ErrorInfo; anything but a RunTimeError becomes error 51 with its own
/// text. To be called inside a catch block.
ErrorInfo CurrentError(std::int32_t line = 0);

}  // namespace pellago
