#pragma once

#include <string>
#include <string_view>

namespace pellago {

/// Appends `line` and CR LF to the file at `path`, made when it is missing, and closes it, so that a crash
/// loses nothing. Throws RunTimeError 75 "Path/File access error".
void AppendLine(const std::string& path, std::string_view line);

}  // namespace pellago
