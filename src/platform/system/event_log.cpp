#include "platform/system/event_log.h"

#include <syslog.h>

#include <utility>

#include "platform/values/replaceable.h"

namespace pellago {
namespace {

void WriteToSyslog(const std::string& text) {
    openlog("Pellago", LOG_PID, LOG_USER);
    syslog(LOG_ERR, "%s", text.c_str());
    closelog();
}

Replaceable event_log(WriteToSyslog);

}  // namespace

void WriteEventLogError(const std::string& text) { event_log(text); }

void ReplaceEventLog(std::function<void(const std::string&)> log) { event_log.Replace(std::move(log)); }

}  // namespace pellago
