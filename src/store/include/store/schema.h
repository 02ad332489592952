#pragma once

#include <cstdint>
#include <string>

#include "platform/data/connection.h"

namespace pellago {

/// Number of the error "the file that is to be made exists already".
inline constexpr std::int32_t kFileExists = 58;

/// Makes an empty news database, with its tables, indexes and ErrorMessages rows, complete or not at all.
/// Throws kFileExists when the file exists, data_error::kNotWritable when it cannot be written. In
/// create_database.cpp.
void CreateDatabase(const std::string& path);

/// Brings an open database of an older schema up to date. Throws data_error::kNewerSchema for one of a newer
/// schema, data_error::kNotADatabase for a file without our tables.
void UpgradeSchema(Connection& connection);

}  // namespace pellago
