#include "infra/shell.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "infra/component_errors.h"
#include "platform/registry/registry.h"
#include "platform/system/shell_execute.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr ComponentErrors kErrors("CShell", 18041, 18055);

constexpr std::int32_t kFileNotFound = 18041;
constexpr std::int32_t kCannotCreateProcess = 18053;
constexpr std::int32_t kCannotShowProperties = 18054;

struct ShellError {
    std::int32_t result;
    std::int32_t code;
    const char* text;
    bool concerns_links;
};

constexpr std::array<ShellError, 12> kShellErrors{{
    {shell_result::kFileNotFound, kFileNotFound, "File not found", false},
    {shell_result::kAccessDenied, kFileNotFound, "File not found", false},
    {shell_result::kPathNotFound, 18042, "Path not found", false},
    {shell_result::kOutOfMemory, 18044, "Out of memory", true},
    {shell_result::kLibraryNotFound, 18045, "DLL not found", false},
    {shell_result::kSharingViolation, 18046, "A sharing violation occurred", true},
    {shell_result::kAssociationIncomplete, 18047, "Incomplete or invalid file association", false},
    {shell_result::kConversationTimeout, 18048, "DDE timeout", true},
    {shell_result::kConversationFailed, 18049, "DDE transaction failed", true},
    {shell_result::kConversationBusy, 18050, "DDE busy", true},
    {shell_result::kNoAssociation, 18051, "No association for file extension", false},
    {shell_result::kBadFormat, 18052, "Invalid EXE file or error in EXE image", false},
}};

void Check(std::int32_t result) {
    const auto* error = std::ranges::find(kShellErrors, result, &ShellError::result);
    if (error != kShellErrors.end()) kErrors.Raise(error->code, error->text);
}

void CheckLink(std::int32_t result) {
    const auto* error = std::ranges::find(kShellErrors, result, &ShellError::result);
    if (error != kShellErrors.end() && error->concerns_links) kErrors.Raise(error->code, error->text);
}

void RequireFile(const std::string& path) {
    std::error_code failure;
    if (!std::filesystem::exists(path, failure)) kErrors.Raise(kFileNotFound, "File not found");
}

/// What stands before the last "/"; empty when there is none.
std::string FolderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "" : path.substr(0, slash);
}

/// The default value of a key below the machine's classes, up to its first NUL; empty when it has none.
std::string ClassText(const std::string& path) {
    const auto value = RegQueryValueEx(HKEY_LOCAL_MACHINE, "SOFTWARE\\Classes\\" + path, "");
    const auto text = value ? value->Text().value_or("") : "";
    return text.substr(0, text.find('\0'));
}

/// The verb that stands for a double click on a file of that type.
std::string DefaultVerb(const std::string& path) {
    const auto dot = path.rfind('.');
    if (dot == std::string::npos) return "open";
    const auto type = ClassText(path.substr(dot));
    if (type.empty()) return "open";
    if (auto verb = ClassText(type + "\\Shell"); !verb.empty()) return verb;
    const auto verbs = RegEnumKeyEx(HKEY_LOCAL_MACHINE, "SOFTWARE\\Classes\\" + type + "\\Shell");
    if (!verbs || verbs->empty()) return "open";
    const auto is_open = [](const std::string& verb) {
        return LCase(verb) == "open" || LCase(verb) == "&open";
    };
    return std::ranges::any_of(*verbs, is_open) ? "open" : verbs->front();
}

}  // namespace

void CShell::CreateNewMailMessage(const std::string& recipient_address,
                                  const std::string& cc_recipient_address, const std::string& subject,
                                  const std::string& body) const {
    kErrors.Run([&] {
        auto link = "mailto:" + recipient_address;
        char separator = '?';
        const auto add = [&](const char* header, const std::string& value) {
            if (value.empty()) return;
            link += separator + (header + value);
            separator = '&';
        };
        add("subject=", subject);
        add("cc=", cc_recipient_address);
        add("body=", body);
        OpenUrl(link);
    });
}

void CShell::ExploreFolder(const std::string& folder_name) const {
    kErrors.Run([&] { Check(ShellOpen("explore", folder_name, "")); });
}

void CShell::LaunchProgram(const std::string& path_file_name, const std::string& parameters,
                           bool wait_to_finish, const std::string& start_directory) const {
    kErrors.Run([&] {
        RequireFile(path_file_name);
        if (!wait_to_finish)
            Check(ShellExecute("open", path_file_name, parameters, FolderOf(path_file_name)));
        else if (!CreateProcessAndWait(path_file_name, parameters, start_directory))
            kErrors.Raise(kCannotCreateProcess, "Cannot create process");
    });
}

void CShell::OpenDocument(const std::string& path_file_name) const {
    kErrors.Run([&] {
        RequireFile(path_file_name);
        Check(ShellOpen(DefaultVerb(path_file_name), path_file_name, FolderOf(path_file_name)));
    });
}

void CShell::OpenFolder(const std::string& folder_name) const {
    kErrors.Run([&] { Check(ShellOpen("open", folder_name, "")); });
}

void CShell::OpenUrl(const std::string& url) const {
    kErrors.Run([&] { CheckLink(ShellOpen("open", url, "")); });
}

void CShell::ShowProperties(const std::string& path_file_name, std::int32_t /*hwnd_owner*/) const {
    kErrors.Run([&] {
        RequireFile(path_file_name);
        if (ShellShowProperties(path_file_name) < shell_result::kSuccess)
            kErrors.Raise(kCannotShowProperties, "Cannot show properties");
    });
}

}  // namespace pellago
