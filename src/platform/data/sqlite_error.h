#pragma once

#include <sqlite3.h>

#include <string>

#include "platform/values/run_time_error.h"

namespace pellago::data {

inline constexpr const char* kErrorSource = "Data";

/// The file at `path` could not be opened for the reason that errno told.
RunTimeError FileFailure(const std::string& path, int error);

/// What the library answered to a statement on the database at `path`.
RunTimeError StatementFailure(const std::string& path, sqlite3* database, int code);

}  // namespace pellago::data
