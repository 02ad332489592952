#include "grid_table.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QScrollBar>

#include "grid/data_grid.h"
#include "group_delegate.h"

namespace pellago {
namespace {

constexpr int kRowPadding = 6;

bool IsGroup(const QModelIndex& index) { return index.data(kGroupLevelRole).isValid(); }

}  // namespace

GridTable::GridTable(QWidget* parent) : QTableView(parent), delegate_(new GroupDelegate(*this)) {
    setItemDelegate(delegate_);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setVerticalScrollMode(ScrollPerItem);
    setHorizontalScrollMode(ScrollPerPixel);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    FitRowHeight();
}

void GridTable::FitRowHeight() {
    const int height = fontMetrics().height() + kRowPadding;
    verticalHeader()->setMinimumSectionSize(height);
    verticalHeader()->setDefaultSectionSize(height);
}

void GridTable::changeEvent(QEvent* event) {
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange) FitRowHeight();
}

void GridTable::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTableView::currentChanged(current, previous);
    viewport()->update();  // the frame around a group's row is wider than the current cell
    if (current.isValid() && current_column_) current_column_(current.column());
}

void GridTable::keyPressEvent(QKeyEvent* event) {
    if (!HandleKey(*event)) QTableView::keyPressEvent(event);
}

bool GridTable::HandleKey(const QKeyEvent& event) {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier;
    const auto row = currentIndex();
    switch (event.key()) {
        case Qt::Key_F10:
            if (modifiers == Qt::ShiftModifier) menu_(-1, {});
            return modifiers == Qt::ShiftModifier;
        case Qt::Key_Return:
        case Qt::Key_Enter:  // never the dialog's default button
            if (IsGroup(row)) Fold(row, !row.data(kUnfoldedRole).toBool());
            return true;
        case Qt::Key_Plus:
            return FoldInwards(row);
        case Qt::Key_Minus:
            return FoldOutwards(row);
        case Qt::Key_Right:
            return modifiers == Qt::NoModifier && FoldInwards(row);
        case Qt::Key_Left:  // with Ctrl to the next column, on every row
            return modifiers == Qt::NoModifier && FoldOutwards(row);
        default:
            return false;
    }
}

bool GridTable::FoldInwards(const QModelIndex& row) {
    if (!IsGroup(row)) return false;
    if (row.data(kUnfoldedRole).toBool())
        setCurrentIndex(row.siblingAtRow(row.row() + 1));
    else
        Fold(row, true);
    return true;
}

bool GridTable::FoldOutwards(const QModelIndex& row) {
    if (IsGroup(row) && row.data(kUnfoldedRole).toBool()) {
        Fold(row, false);
        return true;
    }
    const auto group = row.data(kGroupRowRole);
    if (group.isValid()) setCurrentIndex(row.siblingAtRow(group.toInt()));
    return group.isValid() || IsGroup(row);
}

// The rows before and after may change in any way; the group's own stays where it is, and stays the current
// one.
void GridTable::Fold(const QModelIndex& group, bool unfolded) {
    const int row = group.row();
    const int column = group.column();
    const int top = verticalScrollBar()->value();
    const QPointer<QAbstractItemModel> rows(model());
    const QPointer<GridTable> self(this);
    rows->setData(group, unfolded, kUnfoldedRole);
    if (!self || !rows || model() != rows) return;
    if (!currentIndex().isValid()) setCurrentIndex(rows->index(row, column));
    executeDelayedItemsLayout();
    verticalScrollBar()->setValue(top);
}

std::optional<QModelIndex> GridTable::ArrowAt(QPoint position) const {
    const auto index = indexAt(position);
    if (!IsGroup(index) || !delegate_->Arrow(index).contains(position)) return std::nullopt;
    return index;
}

void GridTable::mousePressEvent(QMouseEvent* event) {
    const auto arrow =
        event->button() == Qt::LeftButton ? ArrowAt(event->position().toPoint()) : std::nullopt;
    if (!arrow) {
        QTableView::mousePressEvent(event);
        return;
    }
    setCurrentIndex(*arrow);
    Fold(*arrow, !arrow->data(kUnfoldedRole).toBool());
}

void GridTable::mouseDoubleClickEvent(QMouseEvent* event) {
    const auto index = indexAt(event->position().toPoint());
    if (event->button() == Qt::LeftButton && IsGroup(index))
        Fold(index, !index.data(kUnfoldedRole).toBool());
    else
        QTableView::mouseDoubleClickEvent(event);
}

void GridTable::contextMenuEvent(QContextMenuEvent* event) {
    const bool by_mouse = event->reason() == QContextMenuEvent::Mouse;
    menu_(by_mouse ? columnAt(event->pos().x()) : -1, event->globalPos());
}

}  // namespace pellago
