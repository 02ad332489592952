#include "platform/system/shell_execute.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <cerrno>
#include <chrono>
#include <filesystem>

#include "platform/values/addresses.h"
#include "platform/values/text.h"
#include "program_start.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

constexpr auto kOpenerLimit = 2s;

bool Exists(const fs::path& file) {
    std::error_code failure;
    return fs::exists(file, failure);
}

bool IsLink(const std::string& text) { return SchemeOf(text).size() >= 2 && !Exists(text); }

/// Why a file cannot be opened; kSuccess when it can.
std::int32_t Accessibility(const std::string& file) {
    if (access(file.c_str(), R_OK) == 0) return shell_result::kSuccess;
    switch (errno) {
        case ENOENT:
            return Exists(fs::path(file).parent_path()) || fs::path(file).parent_path().empty()
                       ? shell_result::kFileNotFound
                       : shell_result::kPathNotFound;
        case ENOTDIR:
            return shell_result::kPathNotFound;
        case ENAMETOOLONG:
            return shell_result::kFileNotFound;
        default:
            return shell_result::kAccessDenied;
    }
}

bool IsProgram(const std::string& file) {
    std::error_code failure;
    return fs::is_regular_file(file, failure) && access(file.c_str(), X_OK) == 0;
}

std::string AbsolutePath(const std::string& file) {
    std::error_code failure;
    return fs::absolute(file, failure).string();
}

bool IsDefaultVerb(const std::string& verb) {
    return verb.empty() || EqualNoCase(verb, "open") || EqualNoCase(verb, "explore");
}

/// What a failed start of a program comes to.
std::int32_t ResultOfError(int error) {
    switch (error) {
        case 0:
            return shell_result::kSuccess;
        case ENOENT:
            return shell_result::kFileNotFound;
        case ENOTDIR:
            return shell_result::kPathNotFound;
        case ENOMEM:
        case EAGAIN:
        case E2BIG:
        case EMFILE:
        case ENFILE:
            return shell_result::kOutOfMemory;
        case ETXTBSY:
            return shell_result::kSharingViolation;
        case ENOEXEC:
        case EINVAL:
        case ELIBBAD:
            return shell_result::kBadFormat;
        default:
            return shell_result::kAccessDenied;
    }
}

/// The exit codes of xdg-open as its manual has them; any other is a failure of what it started.
std::int32_t ResultOfOpener(int exit_code) {
    switch (exit_code) {
        case 0:
            return shell_result::kSuccess;
        case 1:
            return shell_result::kAssociationIncomplete;
        case 2:
            return shell_result::kFileNotFound;
        case 3:
            return shell_result::kNoAssociation;
        default:
            return shell_result::kConversationFailed;
    }
}

std::vector<std::string> CommandOf(const std::string& file, const std::string& parameters) {
    std::vector<std::string> command{AbsolutePath(file)};
    for (const auto& parameter : QProcess::splitCommand(QString::fromStdString(parameters)))
        command.push_back(parameter.toStdString());
    return command;
}

}  // namespace

std::int32_t ShellOpen(const std::string& verb, const std::string& file, const std::string& directory) {
    const bool is_link = IsLink(file);
    const auto accessibility = is_link ? shell_result::kSuccess : Accessibility(file);
    if (accessibility != shell_result::kSuccess) return accessibility;
    if (!IsDefaultVerb(verb)) return shell_result::kNoAssociation;

    const auto opener = QFile::encodeName(QStandardPaths::findExecutable(u"xdg-open"_s)).toStdString();
    if (opener.empty()) return shell_result::kNoAssociation;
    // An absolute path begins with "/": the opener cannot take it for an option.
    auto program = StartProgram({opener, is_link ? file : AbsolutePath(file)}, directory);
    if (program.error != 0) return ResultOfError(program.error);
    if (program.exit_code.wait_for(kOpenerLimit) != std::future_status::ready) return shell_result::kSuccess;
    return ResultOfOpener(program.exit_code.get());
}

std::int32_t ShellExecute(const std::string& verb, const std::string& file, const std::string& parameters,
                          const std::string& directory) {
    if (!IsProgram(file) || !(verb.empty() || EqualNoCase(verb, "open")))
        return ShellOpen(verb, file, directory);
    return ResultOfError(StartProgram(CommandOf(file, parameters), directory).error);
}

bool CreateProcessAndWait(const std::string& file, const std::string& parameters,
                          const std::string& directory) {
    const auto program = StartProgram(CommandOf(file, parameters), directory);
    if (program.error != 0) return false;
    program.exit_code.wait();
    return true;
}

}  // namespace pellago
