#pragma once

#include <filesystem>
#include <string_view>

namespace pellago::cli {

/// Makes a file hold `bytes`: it is the old one or the new one at any time, also after a crash. Links are
/// followed; what is there and no file (a device, a pipe) is written to. Throws Failure kNotWritable.
void ReplaceFile(const std::filesystem::path& path, std::string_view bytes);

}  // namespace pellago::cli
