#include "infra/component_errors.h"

#include "platform/files/program.h"

namespace pellago {

void ComponentErrors::Raise(std::int32_t code, const std::string& description) const {
    Raise(code, description, class_name_);
}

void ComponentErrors::Raise(std::int32_t code, const std::string& description,
                            std::string_view source_name) const {
    throw RunTimeError(error_number::kObjectErrorBase + code, ProgramName() + "." + std::string(source_name),
                       description);
}

bool ComponentErrors::IsOwn(const RunTimeError& error) const {
    const auto code = std::int64_t{error.Number()} - error_number::kObjectErrorBase;
    return code >= first_code_ && code <= last_code_;
}

void ComponentErrors::RaiseComponentFailure() const {
    Raise(last_code_, std::string(class_name_) + " component failure");
}

}  // namespace pellago
