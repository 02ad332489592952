#pragma once

#include <string_view>

namespace pellago {

/// Whether feed dates that fail and errors inside a run are logged. Tested by every writer before it calls
/// WriteErrorsLog.
extern bool gErrorsToFile;

/// Appends a line to "ErrorsLog.txt" in the program's folder: "Pellago:", tab, date and time, tab, `message`.
/// A file that cannot be opened loses the line silently.
void WriteErrorsLog(std::string_view message);

}  // namespace pellago
