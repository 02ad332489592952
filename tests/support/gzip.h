#pragma once

#include <string>
#include <string_view>

namespace pellago::test {

/// `bytes` as a gzip file (RFC 1952). Compresses nothing but runs of one byte, and those well: enough for
/// small fixtures and for bombs.
std::string Gzip(std::string_view bytes);

}  // namespace pellago::test
