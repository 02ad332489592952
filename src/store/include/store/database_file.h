#pragma once

#include <cstdint>
#include <string>

namespace pellago {

/// Number of the error "the file that is to be made exists already".
inline constexpr std::int32_t kFileExists = 58;

/// Makes an empty news database, with its tables, indexes and ErrorMessages rows, complete or not at all.
/// Throws kFileExists when the file exists, data_error::kNotWritable when it cannot be written.
void CreateDatabase(const std::string& path);

}  // namespace pellago
