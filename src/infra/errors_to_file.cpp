#include "infra/errors_to_file.h"

#include <string>

#include "infra/guarded_routine.h"
#include "log_file.h"
#include "platform/files/program.h"
#include "platform/values/date_time.h"

namespace pellago {

bool gErrorsToFile = false;

void WriteErrorsLog(std::string_view message) {
    Try([&] {
        AppendLine(JoinPath(ProgramFolder(), "ErrorsLog.txt"),
                   "Pellago:\t" + DefaultText(Now()) + "\t" + std::string(message));
    });
}

}  // namespace pellago
