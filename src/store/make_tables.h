#pragma once

#include "platform/data/connection.h"

namespace pellago {

/// Takes the database of an open connection from its schema, which may be none, to the present one.
void MakeTables(Connection& connection);

}  // namespace pellago
