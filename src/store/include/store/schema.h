#pragma once

#include <string>

#include "platform/data/connection.h"

namespace pellago {

/// Makes an empty news database, with its tables, indexes and ErrorMessages rows, complete or not at all.
/// Throws RunTimeError when the file exists or cannot be written.
void CreateDatabase(const std::string& path);

/// Brings an open database of an older schema up to date. Throws data_error::kNewerSchema for one of a newer
/// schema, data_error::kNotADatabase for a file without our tables.
void UpgradeSchema(Connection& connection);

}  // namespace pellago
