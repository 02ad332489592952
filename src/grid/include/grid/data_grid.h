#pragma once

#include <QWidget>
#include <functional>
#include <string>
#include <vector>

class QAbstractItemModel;
class QLineEdit;
class QTableView;

namespace pellago {

class GridHeader;
class GridTable;
class GroupArea;
class GroupChip;
struct DraggedColumn;

/// What a grid's model says of a row beside its cells, at any column: the level of a row that stands for a
/// group of rows, 0 for the outermost (no value for other rows); the level of grouping that any row stands
/// inside; whether the group is unfolded. Setting the last folds or unfolds it.
inline constexpr int kGroupLevelRole = Qt::UserRole;
inline constexpr int kIndentRole = Qt::UserRole + 1;
inline constexpr int kUnfoldedRole = Qt::UserRole + 2;
/// The number of the row of the group that a row stands directly inside; no value where it stands in none.
inline constexpr int kGroupRowRole = Qt::UserRole + 3;

/// A column of a grid, as its owner builds a filter from it.
class GridColumn final {
public:
    GridColumn(std::string caption, std::string data_field, QLineEdit* cell);

    const std::string& Caption() const { return caption_; }
    const std::string& DataField() const { return data_field_; }
    /// The text in the filter cell, as typed.
    std::string FilterText() const;
    /// Nobody is told of this change.
    void FilterText(const std::string& text);

private:
    std::string caption_;
    std::string data_field_;
    QLineEdit* cell_;
};

/// A table whose rows a model reads as they are needed, with a filter cell above each column and an area that
/// column headers are dragged to, to group the rows by them. It keeps no data; its owner filters and groups.
class DataGrid final : public QWidget {
public:
    struct Field {
        std::string caption;
        std::string data_field;
    };

    DataGrid(const std::vector<Field>& fields, QWidget* parent);

    /// With as many columns as there are fields. Group rows show what the model says of their first column,
    /// over the whole width.
    void Model(QAbstractItemModel* model);
    QTableView& Table() const;

    std::vector<GridColumn>& Columns() { return columns_; }
    /// The columns that rows are grouped by, outermost first.
    const std::vector<int>& GroupColumns() const { return group_columns_; }
    /// Nobody is told of this change.
    void GroupColumns(std::vector<int> columns);

    /// The current column; -1 without one.
    int Col() const { return column_; }
    void Col(int column);

    /// Called after each change of a filter cell by the person, with its column, which has become the current
    /// one; from the event loop, so that the handler may do what it likes, the grid's destruction included.
    void OnFilterChange(std::function<void(int column)> handler) { filter_changed_ = std::move(handler); }
    /// Called after the person has changed the columns that rows are grouped by; from the event loop, too.
    void OnGroupChange(std::function<void()> handler) { group_changed_ = std::move(handler); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void MakeTable(const QStringList& captions);
    void MakeGroupArea(const QStringList& captions);
    void WatchCell(QLineEdit* cell, int column);
    bool HandleCellKey(int key);
    void Reveal(int column);
    void Place(int column, int place);
    void Remove(int column);
    void Regroup(std::vector<int> columns);
    bool IsGrouped(int column) const;
    void ShowMenu(int column, QPoint position);
    void ShowMenuOfCurrentColumn();
    void DragHeader(int column, QPoint grip);
    void DragChip(GroupChip& chip, QPoint grip);
    void Drag(QWidget* source, const DraggedColumn& dragged, const QPixmap& picture, QPoint grip);

    GridTable* table_;
    GridHeader* header_;
    GroupArea* group_area_;
    std::vector<GridColumn> columns_;
    std::vector<int> group_columns_;
    int column_ = -1;
    bool dragging_ = false;  ///< a chip is dragged, and the grid has not been hidden since
    std::function<void(int)> filter_changed_;
    std::function<void()> group_changed_;
};

}  // namespace pellago
