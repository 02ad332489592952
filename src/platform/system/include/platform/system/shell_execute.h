#pragma once

#include <cstdint>
#include <string>

// The desktop's ways of opening things. Nothing that is passed in goes through a command interpreter.
namespace pellago {

/// The classic results; any above 32 is a success.
namespace shell_result {
inline constexpr std::int32_t kFileNotFound = 2;
inline constexpr std::int32_t kPathNotFound = 3;
inline constexpr std::int32_t kAccessDenied = 5;
inline constexpr std::int32_t kOutOfMemory = 8;
inline constexpr std::int32_t kBadFormat = 11;
inline constexpr std::int32_t kSharingViolation = 26;
inline constexpr std::int32_t kAssociationIncomplete = 27;
inline constexpr std::int32_t kConversationTimeout = 28;
inline constexpr std::int32_t kConversationFailed = 29;
inline constexpr std::int32_t kConversationBusy = 30;
inline constexpr std::int32_t kNoAssociation = 31;
inline constexpr std::int32_t kLibraryNotFound = 32;
inline constexpr std::int32_t kSuccess = 33;
}  // namespace shell_result

/// Opens a link, a document or a folder with what the desktop has for it: `xdg-open`, found in PATH and
/// started in `directory` (the present one when empty). A program or script is a document too and is never
/// run from here. A link begins with a scheme of two characters or more (RFC 3986, section 3.1) and is not
/// the name of a file. The verbs are "open", "explore" and none; for others nothing is associated. Waits for
/// the opener, which may stay as long as what it opened, for 2 seconds at most.
std::int32_t ShellOpen(const std::string& verb, const std::string& file, const std::string& directory);

/// Starts the program `file` in `directory`, without waiting for it; ShellOpen for all that is no executable
/// file. `parameters` are separated by blanks. Quotes keep blanks together and are taken away, three in a row
/// stand for one; a parameter that is empty cannot be given, and no other character is special.
std::int32_t ShellExecute(const std::string& verb, const std::string& file, const std::string& parameters,
                          const std::string& directory);

/// Starts the program `file`, with parameters as above, and waits until it has ended, without limit. False
/// when it cannot be started.
bool CreateProcessAndWait(const std::string& file, const std::string& parameters,
                          const std::string& directory);

/// Asks the desktop's file manager for a file's property sheet. It has 5 seconds to show it, and every
/// failure is kNoAssociation.
std::int32_t ShellShowProperties(const std::string& file);

}  // namespace pellago
