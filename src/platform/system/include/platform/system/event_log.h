#pragma once

#include <functional>
#include <string>

namespace pellago {

/// Writes an error entry into the system's event log: syslog, identity "Pellago".
void WriteEventLogError(const std::string& text);

/// Makes error entries go to `log`; an empty function brings syslog back. For tests.
void ReplaceEventLog(std::function<void(const std::string& text)> log);

}  // namespace pellago
