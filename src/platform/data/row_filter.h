#pragma once

#include <string>
#include <vector>

#include "platform/data/sqlite_database.h"
#include "platform/values/variant.h"

namespace pellago::data {

/// A condition on a query's columns, its values as parameters from 1.
struct Condition {
    std::string sql;
    std::vector<Variant> values;
};

/// Throws RunTimeError for what is not a filter on these columns; a name that two of them bear is not one.
Condition ParseFilter(const std::string& filter, const Columns& columns);

/// The SQL order of a sort text; throws like ParseFilter.
std::string ParseSort(const std::string& sort, const Columns& columns);

/// A name as SQL takes it, whatever it holds.
std::string QuotedName(const std::string& name);

}  // namespace pellago::data
