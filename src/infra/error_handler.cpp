#include "infra/error_handler.h"

#include <unistd.h>

#include <iostream>
#include <utility>

#include "infra/component_errors.h"
#include "infra/process_objects.h"
#include "log_file.h"
#include "platform/system/event_log.h"
#include "platform/system/message_box.h"
#include "platform/system/system_version.h"
#include "platform/values/date_time.h"
#include "platform/values/run_time_error.h"
#include "platform/values/terminal_text.h"

namespace pellago {
namespace {

constexpr ComponentErrors kErrors("CErrorHandler", 17401, 17404);
constexpr std::int32_t kInvalidFileName = 17401;
constexpr std::int32_t kInvalidActions = 17402;
constexpr std::int32_t kInvalidTracingFlags = 17403;

constexpr std::int32_t kMessageBox = 1;
constexpr std::int32_t kErrorLog = 2;
constexpr std::int32_t kEventLog = 4;
constexpr std::int32_t kErrorDialog = 8;

// The other flag, 1, is for a debugger's output, which a program that is in use has not.
constexpr std::int32_t kTracingLog = 2;

constexpr const char* kLineBreak = "\r\n";

std::int32_t PrintReport(const std::string& report, const std::string&) {
    std::cerr << TerminalText(report) << std::endl;
    return 0;
}

ErrorDialog& Dialog() {
    static ErrorDialog dialog = PrintReport;
    return dialog;
}

void CheckFileName(const std::string& path) {
    if (path.empty()) kErrors.Raise(kInvalidFileName, "Invalid file name");
}

bool IsRunningOnNt() {
    auto system = GetVersionEx(kExtendedVersionRecord);
    if (!system) system = GetVersionEx(kBasicVersionRecord);
    return system && system->platform_id == VER_PLATFORM_WIN32_NT;
}

std::string TimeStamp() {
    const auto now = Now();
    return ShortDateText(now) + " - " + LongTimeText(now);
}

std::int32_t AskInMessageBox(const std::string& report) {
    switch (
        ShowMessageBox({report, gAppTitle, MessageBoxButtons::kAbortRetryIgnore, MessageBoxIcon::kNone})) {
        case MessageBoxAnswer::kRetry:
            return 1;
        case MessageBoxAnswer::kIgnore:
            return 2;
        default:
            return 0;
    }
}

}  // namespace

void UseErrorDialog(ErrorDialog dialog) { Dialog() = dialog ? std::move(dialog) : PrintReport; }

CErrorHandler::CErrorHandler() : running_on_nt_(IsRunningOnNt()) {}

void CErrorHandler::ErrorHandlerActions(std::int32_t actions) {
    if (actions < 1 || actions > 15) kErrors.Raise(kInvalidActions, "Invalid error handler actions");
    actions_ = actions;
}

void CErrorHandler::ErrorLogFile(const std::string& path) {
    CheckFileName(path);
    error_log_file_ = path;
}

void CErrorHandler::TracingFlags(std::int32_t flags) {
    if (flags < 1 || flags > 3) kErrors.Raise(kInvalidTracingFlags, "Invalid tracing flags");
    tracing_flags_ = flags;
}

void CErrorHandler::TracingLogFile(const std::string& path) {
    CheckFileName(path);
    tracing_log_file_ = path;
}

void CErrorHandler::Init(std::int32_t actions, const std::string& error_log_file, bool call_stack_enabled,
                         bool tracing_enabled, std::int32_t tracing_flags,
                         const std::string& tracing_log_file) {
    ErrorHandlerActions(actions);
    ErrorLogFile(error_log_file);
    CallStackEnabled(call_stack_enabled);
    TracingEnabled(tracing_enabled);
    TracingFlags(tracing_flags);
    TracingLogFile(tracing_log_file);
}

void CErrorHandler::CallStackClear() {
    if (!call_stack_enabled_) return;
    routines_.clear();
    parameters_.clear();
}

void CErrorHandler::CallStackPush(const std::string& procedure, const std::string& data) {
    kErrors.Run([&] {
        routines_.push_back(procedure);
        parameters_.push_back(data);
        Trace("Entered routine: " + procedure);
    });
}

void CErrorHandler::CallStackPop() {
    if (routines_.empty()) return;
    kErrors.Run([&] {
        Trace("Exited routine: " + routines_.back());
        routines_.pop_back();
        parameters_.pop_back();
    });
}

void CErrorHandler::Clear(bool clear_log_file, bool clear_tracing_log_file) {
    if (clear_log_file) unlink(error_log_file_.c_str());
    if (clear_tracing_log_file) unlink(tracing_log_file_.c_str());
}

std::int32_t CErrorHandler::HandleError(const std::string& procedure) {
    // First of all: what follows may fail in its own right, and then another error is the current one.
    error_description_ = Err().description;
    error_number_ = Err().number;
    error_line_ = Err().line;
    return kErrors.Run([&] {
        const bool name_top = procedure.empty() && call_stack_enabled_ && !routines_.empty();
        const auto routine = name_top ? routines_.back() : procedure;
        const auto report = Report(routine.empty() ? "Unknown" : routine);
        std::int32_t result = 0;
        if (actions_ & kErrorLog) AppendLine(error_log_file_, report);
        if (actions_ & kEventLog && running_on_nt_) WriteEventLogError(report);
        if (actions_ & kMessageBox) result = AskInMessageBox(report);
        if (actions_ & kErrorDialog) result = Dialog()(report, support_mail_);
        return result;
    });
}

std::string CErrorHandler::Report(const std::string& routine) const {
    auto report = TimeStamp() + kLineBreak;
    report += "\tError: " + std::to_string(error_number_) + ", (" + error_description_ + ")" + kLineBreak;
    report += "\tin " + routine + " at line " + std::to_string(error_line_) + kLineBreak;
    report += kLineBreak;
    report += "The call stack is:";
    report += kLineBreak;
    for (auto entry = routines_.size(); entry > 0; --entry) {
        report += std::string(20, ' ') + routines_[entry - 1] + "(" + parameters_[entry - 1] + ")";
        if (entry > 1) report += kLineBreak;
    }
    return report;
}

void CErrorHandler::Trace(const std::string& what) const {
    if (tracing_enabled_ && tracing_flags_ & kTracingLog)
        AppendLine(tracing_log_file_, TimeStamp() + " --- " + what);
}

}  // namespace pellago
