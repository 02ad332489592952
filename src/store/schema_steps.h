#pragma once

#include "platform/data/connection.h"

namespace pellago {

/// Takes the database of an open connection step by step from its schema, which may be none, to the present
/// one.
void TakeSchemaSteps(Connection& connection);

}  // namespace pellago
