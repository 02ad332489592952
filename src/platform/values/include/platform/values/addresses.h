#pragma once

#include <string>
#include <string_view>

namespace pellago {

/// Where a document is, by the address that a person gave.
struct DocumentAddress {
    enum class Kind { kHttp, kFile, kUnsupported };
    Kind kind = Kind::kUnsupported;
    std::string location;  ///< URL, path in the file system, or why there is neither
};

/// Knows http and https addresses, file addresses (RFC 8089, of this machine) and plain paths. White space
/// around an address does not count.
DocumentAddress ParseAddress(std::string_view address);

}  // namespace pellago
