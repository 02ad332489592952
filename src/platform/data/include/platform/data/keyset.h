#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/data/recordset.h"

// Recordsets too long to be read as a whole. What takes time is done in the background, on a connection of
// its own, and sees what is committed when it begins; `changed` is called from the message loop and may
// destroy what calls it.
namespace pellago {

/// The rows of a recordset as a list of any length. Their keys are gathered in the background; the rows are
/// read by their keys, some at a time, when they are asked for.
class Keyset final {
public:
    /// Of the rows that `filter` lets through, sorted as `order` says and, where that does not decide, the
    /// highest key first, whatever the recordset's own filter and sort are. `key` is what tells the rows
    /// apart, a whole number, in terms of the source's tables. `changed` is called when more keys are there,
    /// and at the end. Throws RunTimeError when the recordset is closed, or filter or order are not valid.
    Keyset(const Recordset& rows, const std::string& key, const std::string& filter, const std::string& order,
           std::function<void()> changed);
    ~Keyset();
    Keyset(const Keyset&) = delete;
    Keyset& operator=(const Keyset&) = delete;

    /// The number of rows that were found so far.
    std::size_t Size() const;
    /// Whether all of them were found, or the search failed.
    bool IsComplete() const;
    const std::optional<ErrorInfo>& Failure() const;

    /// The values of a row, in the order of the recordset's columns, as they were when it was first asked
    /// for; empty for one that is no more. Throws RunTimeError.
    const std::vector<Variant>& Row(std::size_t index);

private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Rows of a recordset that have the same value in one column.
struct RowGroup {
    Variant value;
    std::size_t count = 0;
};

/// The groups that a recordset's rows fall into by the values of one column, a column of dates by its days
/// ("YYYY-MM-DD"), in ascending order.
class RowGroups final {
public:
    /// Of the rows that `filter` lets through. `changed` is called once. Throws like Keyset.
    RowGroups(const Recordset& rows, const std::string& column, const std::string& filter,
              std::function<void()> changed);
    ~RowGroups();
    RowGroups(const RowGroups&) = delete;
    RowGroups& operator=(const RowGroups&) = delete;

    /// None before they were counted.
    const std::optional<std::vector<RowGroup>>& Groups() const;
    const std::optional<ErrorInfo>& Failure() const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace pellago
