#pragma once

#include <filesystem>
#include <string_view>

namespace pellago {

/// Where `path` leads as a link, or a chain of links, also when nothing is there yet; `path` itself when it
/// is no link.
std::filesystem::path LinkTarget(std::filesystem::path path);

/// Makes a file hold `bytes`: it is the old one or the new one at any time, also after a crash. Links are
/// followed. The file keeps its rights, and its owner where that may be set; a new one gets `new_rights`,
/// less what the umask takes. A device or a pipe at `path` is not replaced but written to. Throws
/// RunTimeError 75, which names the file and the reason.
void ReplaceFile(const std::filesystem::path& path, std::string_view bytes,
                 std::filesystem::perms new_rights);

/// A new or renamed file is safe against a power cut only when its folder is flushed too.
void FlushFolder(const std::filesystem::path& folder);

}  // namespace pellago
