#pragma once

#include <QString>
#include <cstddef>
#include <string>
#include <vector>

#include "platform/values/variant.h"

// What the download log shows and is filtered by, in words. Columns count from 0, as in LogColumns.
namespace pellago {

struct LogColumn {
    const char* caption;
    const char* data_field;
};
/// The columns of the download log, as they are shown.
const std::vector<LogColumn>& LogColumns();

inline constexpr int kLogNewColumn = 3;
inline constexpr int kLogUpdatedColumn = 4;
inline constexpr int kLogErrorColumn = 5;

/// The text of a cell.
QString LogCellText(int column, const Variant& value);

/// Lets the rows of one group through: those that have this value in the column. The value of a group by time
/// is a day, as text.
std::string LogGroupFilter(int column, const Variant& value);
/// What stands for such a group of `count` rows.
QString LogGroupCaption(int column, const Variant& value, std::size_t count);

/// "1 row", "2,000 rows".
QString CountedText(std::size_t number, const char* one, const char* many);

}  // namespace pellago
