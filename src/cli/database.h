#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cli/context.h"
#include "cli/exit_status.h"
#include "store/de1.h"

namespace pellago::cli {

/// The database that was asked for, open. Throws RunTimeError when it is missing or unfit.
std::unique_ptr<DE1> OpenDatabase(const Context& context);

/// A column's text for output; `otherwise` for Null and for a text that is empty.
std::string TextOf(const Variant& value, std::string_view otherwise = "");

/// "on" or "off", for a column Active.
std::string OnOrOff(const Variant& active);

/// A line of output: plain fields, separated by tabs.
void PrintRow(const Context& context, const std::vector<std::string>& fields);

/// A recordset whose current row is the one with key `id`.
std::shared_ptr<Recordset> OpenedAt(const DE1& database, const std::string& recordset, std::int32_t id);

/// Sets column Active of the rows with these ids; `kind` is the word for one of them.
ExitStatus SetActive(const Context& context, const std::string& recordset, const std::string& kind,
                     const std::vector<std::int32_t>& ids, bool active);

/// Throws Failure kInputMissing when `table` has no row with that id.
void RequireRow(Connection& connection, const std::string& table, const std::string& kind, std::int32_t id);

}  // namespace pellago::cli
