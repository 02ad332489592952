#pragma once

#include <string>

#include "cli/context.h"
#include "cli/exit_status.h"
#include "json_text.h"
#include "platform/data/recordset.h"

namespace pellago::cli {

/// "-" for no date.
std::string DateText(const Variant& value);

/// Each null where the column is Null; a date also for no date.
Json JsonDate(const Variant& value);
Json JsonNumber(const Variant& value);
Json JsonString(const Variant& value);

/// Prints each row, as long as somebody reads.
ExitStatus PrintRows(const Context& context, Recordset& rows,
                     void (*print)(const Context& context, Recordset& row));

/// Prints one document: "schema" 1, and the rows under `name`.
ExitStatus PrintDocument(const Context& context, const char* name, Recordset& rows,
                         Json (*json_of)(Recordset& row));

}  // namespace pellago::cli
