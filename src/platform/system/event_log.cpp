#include "platform/system/event_log.h"

#include <syslog.h>

#include <utility>

namespace pellago {
namespace {

std::function<void(const std::string&)>& Replacement() {
    static std::function<void(const std::string&)> replacement;
    return replacement;
}

}  // namespace

void WriteEventLogError(const std::string& text) {
    if (Replacement()) return Replacement()(text);
    openlog("Pellago", LOG_PID, LOG_USER);
    syslog(LOG_ERR, "%s", text.c_str());
    closelog();
}

void ReplaceEventLog(std::function<void(const std::string&)> log) { Replacement() = std::move(log); }

}  // namespace pellago
