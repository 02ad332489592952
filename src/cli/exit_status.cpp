#include "cli/exit_status.h"

#include "cli/plain_text.h"
#include "platform/data/connection.h"
#include "store/database_file.h"

namespace pellago::cli {
namespace {

constexpr std::int32_t kSettingNotSaved = error_number::kObjectErrorBase + 17025;

}  // namespace

ExitStatus StatusOf(std::int32_t error_number) {
    switch (error_number) {
        case data_error::kFileMissing:
            return ExitStatus::kInputMissing;
        case data_error::kNotADatabase:
        case data_error::kDamaged:
            return ExitStatus::kUnreadable;
        case data_error::kLocked:
            return ExitStatus::kLocked;
        case data_error::kNotWritable:
        case error_number::kFileAccess:
        case kFileExists:
        case kSettingNotSaved:
            return ExitStatus::kNotWritable;
        case data_error::kNewerSchema:
            return ExitStatus::kNewerSchema;
        default:
            return ExitStatus::kSomeFailed;
    }
}

void Complain(const Context& context, const std::string& message) {
    context.err << "pellago: " << PlainLine(message) << std::endl;
}

}  // namespace pellago::cli
