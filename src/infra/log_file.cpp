#include "log_file.h"

#include <fstream>

#include "platform/values/run_time_error.h"

namespace pellago {

void AppendLine(const std::string& path, std::string_view line) {
    std::ofstream file(path, std::ios::app | std::ios::binary);
    file << line << "\r\n";
    file.close();
    if (!file) throw RunTimeError(error_number::kFileAccess, "", "Path/File access error");
}

}  // namespace pellago
