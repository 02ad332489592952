#pragma once

#include "platform/data/connection.h"

namespace pellago {

/// Brings an open database of an older schema up to date. Throws data_error::kNewerSchema for one of a newer
/// schema, data_error::kNotADatabase for a file without our tables.
void UpgradeSchema(Connection& connection);

}  // namespace pellago
