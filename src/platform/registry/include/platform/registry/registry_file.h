#pragma once

#include <functional>
#include <string>

#include "platform/registry/registry_tree.h"

namespace pellago {

/// One registry as a file, shared between processes. A change is: lock, read, write a temporary file, flush,
/// rename; so readers need no lock, and a crash leaves the old file or the new one. A damaged file is renamed
/// to "….damaged-" and the time, and reported on stderr; it is never overwritten.
class RegistryFile final {
public:
    /// Where `path` is a link, the file is the one that it leads to, and the link stays.
    explicit RegistryFile(const std::string& path);

    /// Empty when the file is missing, damaged or cannot be read.
    RegistryNode Read() const;

    /// Writes what `change` made of the registry when its result is kSuccess, and returns that result.
    /// kAccessDenied when the file cannot be locked (another process holds it for more than 5 seconds), read
    /// or written; then nothing has changed.
    RegResult Change(const std::function<RegResult(RegistryNode& registry)>& change) const;

private:
    std::string path_;
};

}  // namespace pellago
