#include "platform/registry/autostart.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string_view>

#include "platform/files/file_replacement.h"
#include "platform/files/program.h"
#include "platform/values/run_time_error.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;

struct Command {
    std::string program;
    std::string arguments;
};

/// The entry's file; nothing for a name that no file can have.
std::optional<fs::path> EntryFile(const std::string& name) {
    if (name.empty() || name.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
        return std::nullopt;
    return fs::path(UserFolder("XDG_CONFIG_HOME", ".config")) / "autostart" / (name + ".desktop");
}

Command Split(const std::string& command) {
    const auto closing = command.rfind('"');
    if (command.starts_with('"') && closing != 0)
        return {command.substr(1, closing - 1), command.substr(closing + 1)};
    std::error_code failure;
    if (fs::is_regular_file(command, failure)) return {command, ""};
    const auto end = std::min(command.find(' '), command.size());
    return {command.substr(0, end), command.substr(end)};
}

/// `text` as one argument of an entry's key "Exec", as freedesktop.org describes desktop entries.
std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (std::string_view("\"`$\\").find(c) != std::string_view::npos) quoted += '\\';
        quoted += c;
        // A single "%" would begin a field code.
        if (c == '%') quoted += c;
    }
    return quoted + '"';
}

std::string ExecOf(const std::string& command) {
    const auto [program, arguments] = Split(command);
    std::string exec;
    // No program's path may hold a "=", and desktops look for the program before they read "%%" as "%".
    if (program.find_first_of("%=") != std::string::npos)
        exec = "/bin/sh -c " + Quoted(R"(exec "$0" "$@")") + ' ';
    exec += Quoted(program);
    for (std::size_t begin = arguments.find_first_not_of(' '); begin < arguments.size();
         begin = arguments.find_first_not_of(' ', begin)) {
        const auto end = std::min(arguments.find(' ', begin), arguments.size());
        exec += ' ' + Quoted(std::string_view(arguments).substr(begin, end - begin));
        begin = end;
    }
    return exec;
}

/// `text` as the value of an entry's key of type string.
std::string Escaped(std::string_view text) {
    auto escaped = Replace(text, "\\", R"(\\)");
    escaped = Replace(escaped, "\n", R"(\n)");
    escaped = Replace(escaped, "\r", R"(\r)");
    return Replace(escaped, "\t", R"(\t)");
}

std::string EntryText(const std::string& name, const std::string& command) {
    return "[Desktop Entry]\nType=Application\nName=" + Escaped(name) + "\nExec=" + Escaped(ExecOf(command)) +
           "\nIcon=pellago\nTerminal=false\nStartupNotify=false\nX-GNOME-Autostart-enabled=true\n";
}

}  // namespace

bool AddToAutostart(const std::string& name, const std::string& command) {
    const auto file = EntryFile(name);
    const auto text = EntryText(name, command);
    // Desktops pass over a file that is not UTF-8.
    if (!file || ValidUtf8(text) != text || !MakeFolder(file->parent_path().string())) return false;
    try {
        ReplaceFile(*file, text, fs::perms::owner_read | fs::perms::owner_write);
        return true;
    } catch (const RunTimeError&) {
        return false;
    }
}

bool RemoveFromAutostart(const std::string& name) {
    const auto file = EntryFile(name);
    if (!file) return true;
    std::error_code failure;
    fs::remove(*file, failure);
    return !failure;
}

}  // namespace pellago
