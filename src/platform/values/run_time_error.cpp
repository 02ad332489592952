#include "platform/values/run_time_error.h"

#include <utility>

namespace pellago {

RunTimeError::RunTimeError(std::int32_t number, std::string source, const std::string& description)
    : std::runtime_error(description), number_(number), source_(std::move(source)) {}

ErrorInfo& Err() {
    thread_local ErrorInfo current;
    return current;
}

ErrorInfo CurrentError(std::int32_t line) {
    try {
        throw;
    } catch (const RunTimeError& error) {
        return {error.Number(), error.Source(), error.Description(), line};
    } catch (const std::exception& error) {
        return {error_number::kInternalError, "", error.what(), line};
    }
}

}  // namespace pellago
