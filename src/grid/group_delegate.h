#pragma once

#include <QRect>
#include <QStyledItemDelegate>

class QTableView;

namespace pellago {

/// Paints the rows of a grid: those of groups over the whole width, the others indented in their first
/// column.
class GroupDelegate final : public QStyledItemDelegate {
public:
    explicit GroupDelegate(QTableView& table);

    /// Where the arrow of a group's row is in the table's viewport.
    QRect Arrow(const QModelIndex& index) const;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    int Step() const;
    QRect WholeRow(const QModelIndex& index) const;
    void PaintGroup(QPainter& painter, const QStyleOptionViewItem& cell, const QModelIndex& index) const;
    void PaintText(QPainter& painter, const QStyleOptionViewItem& row) const;

    QTableView& table_;
};

}  // namespace pellago
