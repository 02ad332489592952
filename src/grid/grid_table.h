#pragma once

#include <QTableView>
#include <functional>
#include <optional>
#include <utility>

namespace pellago {

class GroupDelegate;

/// The rows of a grid, with groups that are folded and unfolded by keys and mouse. Nothing here walks over
/// rows: a model may have millions of them.
class GridTable final : public QTableView {
public:
    explicit GridTable(QWidget* parent);

    /// Called with the current column.
    void OnCurrentColumn(std::function<void(int column)> handler) { current_column_ = std::move(handler); }
    /// Called with the column under the mouse, or -1 where the menu was asked for by a key.
    void OnMenu(std::function<void(int column, QPoint position)> handler) { menu_ = std::move(handler); }

    /// Does nothing: Qt's own search by typing would read all rows.
    void keyboardSearch(const QString& /*search*/) override {}

protected:
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    bool HandleKey(const QKeyEvent& event);
    bool FoldInwards(const QModelIndex& row);
    bool FoldOutwards(const QModelIndex& row);
    void Fold(const QModelIndex& group, bool unfolded);
    void FitRowHeight();
    std::optional<QModelIndex> ArrowAt(QPoint position) const;

    GroupDelegate* delegate_;
    std::function<void(int)> current_column_;
    std::function<void(int, QPoint)> menu_;
};

}  // namespace pellago
