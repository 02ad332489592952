#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pellago {

/// Shows a report to the user and returns the answer: 0 abort, 1 retry, 2 ignore.
using ErrorDialog = std::function<std::int32_t(const std::string& report, const std::string& support_mail)>;

/// Sets the dialog that the handler shows a report in when its actions have bit 8. A program without windows
/// keeps the dialog that is there from the start, which prints the report on stderr and answers abort; an
/// empty function brings that one back.
void UseErrorDialog(ErrorDialog dialog);

/// What every guarded routine does on a failure: report, log, ask. Keeps the stack of running routines and
/// writes the tracing log. Errors: RunTimeError 0x80040000 + 17401 … 17404.
class CErrorHandler final {
public:
    CErrorHandler();

    const std::string& SupportMail() const { return support_mail_; }
    void SupportMail(const std::string& address) { support_mail_ = address; }
    bool CallStackEnabled() const { return call_stack_enabled_; }
    void CallStackEnabled(bool enabled) { call_stack_enabled_ = enabled; }
    const std::string& ErrorDescription() const { return error_description_; }
    void ErrorDescription(const std::string& description) { error_description_ = description; }
    /// Bits: 1 message box, 2 error log, 4 event log, 8 error dialog; 1 to 15.
    std::int32_t ErrorHandlerActions() const { return actions_; }
    void ErrorHandlerActions(std::int32_t actions);
    std::int32_t ErrorLine() const { return error_line_; }
    void ErrorLine(std::int32_t line) { error_line_ = line; }
    const std::string& ErrorLogFile() const { return error_log_file_; }
    void ErrorLogFile(const std::string& path);
    std::int32_t ErrorNumber() const { return error_number_; }
    void ErrorNumber(std::int32_t number) { error_number_ = number; }
    const std::string& Tag() const { return tag_; }
    void Tag(const std::string& tag) { tag_ = tag; }
    bool TracingEnabled() const { return tracing_enabled_; }
    void TracingEnabled(bool enabled) { tracing_enabled_ = enabled; }
    /// Bits: 1 debug output (nowhere in a release build), 2 tracing log; 1 to 3.
    std::int32_t TracingFlags() const { return tracing_flags_; }
    void TracingFlags(std::int32_t flags);
    const std::string& TracingLogFile() const { return tracing_log_file_; }
    void TracingLogFile(const std::string& path);

    void Init(std::int32_t actions, const std::string& error_log_file, bool call_stack_enabled,
              bool tracing_enabled, std::int32_t tracing_flags, const std::string& tracing_log_file);

    /// Empties the stacks, when the call stack is enabled.
    void CallStackClear();
    void CallStackPop();
    void CallStackPush(const std::string& procedure, const std::string& data);
    /// A line of its own in the tracing log, when tracing is on.
    void Trace(const std::string& what) const;
    /// Deletes the logs asked for; a file that cannot be deleted is passed over.
    void Clear(bool clear_log_file, bool clear_tracing_log_file);

    /// Handles the current error (Err()) of the routine `procedure`, by default the one on top of the call
    /// stack. Returns 0 abort, 1 retry, 2 ignore.
    std::int32_t HandleError(const std::string& procedure);

private:
    std::string Report(const std::string& routine) const;

    bool call_stack_enabled_ = false;
    bool tracing_enabled_ = false;
    std::int32_t actions_ = 1;
    std::int32_t tracing_flags_ = 0;
    std::int32_t error_number_ = 0;
    std::int32_t error_line_ = 0;
    std::string error_log_file_ = "Error Log.txt";
    std::string tracing_log_file_ = "Tracing Log.txt";
    std::string tag_;
    std::string error_description_;
    std::string support_mail_;
    bool running_on_nt_ = false;
    std::vector<std::string> routines_;
    std::vector<std::string> parameters_;
};

}  // namespace pellago
