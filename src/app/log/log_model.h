#pragma once

#include <QAbstractTableModel>
#include <QIcon>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/data/recordset.h"

namespace pellago {

/// The download log as a flat list: its rows or, where they are grouped, a row for each group, followed by
/// the rows or groups inside it where it is unfolded. Nothing is read before it is shown, and what takes time
/// is done in the background: the list grows as rows are found.
class LogModel final : public QAbstractTableModel {
public:
    /// `changed` is called each time that Status has changed.
    LogModel(std::shared_ptr<Recordset> rows, std::function<void()> changed);
    ~LogModel() override;

    /// Shows the rows that the recordset's filter lets through now, grouped by `group_columns`, outermost
    /// first; no rows on failure.
    void Bind(std::vector<int> group_columns);
    /// How many rows there are, or what keeps them from being read.
    QString Status() const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    struct Section;
    /// What a row of the list shows: a row of the log in a section, or, without `row`, the section itself.
    struct Place {
        Section* section = nullptr;
        std::optional<std::size_t> row;
    };

    void Fill(Section& section);
    void TakeRows(Section& section);
    void TakeGroups(Section& section);
    /// Tells views that the text of the row that stands for a section has changed.
    void TellHeader(const Section& section);
    void Empty(Section& section);
    void Insert(Section& section, std::size_t count, const std::function<void()>& change);

    Place PlaceOf(int row) const;
    static QVariant RowOf(const Section& section);
    QVariant GroupData(const Section& group, int column, int role) const;
    QVariant RowData(const Place& place, int column, int role) const;
    /// Empty for a row that is gone or cannot be read.
    std::vector<Variant> ValuesOf(const Place& place) const;

    std::shared_ptr<Recordset> rows_;
    std::function<void()> changed_;
    std::vector<int> group_columns_;
    std::unique_ptr<Section> root_;
    std::optional<std::string> failure_;
    QIcon failed_;
};

}  // namespace pellago
