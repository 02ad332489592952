#include "group_delegate.h"

#include <QHeaderView>
#include <QPainter>
#include <QTableView>

#include "grid/data_grid.h"

namespace pellago {

GroupDelegate::GroupDelegate(QTableView& table) : QStyledItemDelegate(&table), table_(table) {}

int GroupDelegate::Step() const {
    return table_.style()->pixelMetric(QStyle::PM_TreeViewIndentation, nullptr, &table_);
}

QRect GroupDelegate::WholeRow(const QModelIndex& index) const {
    const int row = index.row();
    return {table_.columnViewportPosition(0), table_.rowViewportPosition(row),
            table_.horizontalHeader()->length(), table_.rowHeight(row)};
}

QRect GroupDelegate::Arrow(const QModelIndex& index) const {
    const auto row = WholeRow(index);
    return {row.left() + index.data(kGroupLevelRole).toInt() * Step(), row.top(), Step(), row.height()};
}

void GroupDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
    if (index.data(kGroupLevelRole).isValid()) {
        PaintGroup(*painter, option, index);
        return;
    }
    const int indent = index.column() == 0 ? index.data(kIndentRole).toInt() * Step() : 0;
    if (indent == 0) {
        QStyledItemDelegate::paint(painter, option, index);
        return;
    }
    auto cell = option;
    initStyleOption(&cell, index);
    table_.style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &cell, painter, &table_);
    auto text = option;
    text.rect.setLeft(std::min(option.rect.left() + indent, option.rect.right()));
    QStyledItemDelegate::paint(painter, text, index);
}

// Each cell paints its part of the row: whatever is repainted or scrolled, the parts fit.
void GroupDelegate::PaintGroup(QPainter& painter, const QStyleOptionViewItem& cell,
                               const QModelIndex& index) const {
    auto row = cell;
    initStyleOption(&row, index.siblingAtColumn(0));
    row.rect = WholeRow(index);
    row.viewItemPosition = QStyleOptionViewItem::OnlyOne;
    const bool current = table_.hasFocus() && table_.currentIndex().row() == index.row();
    row.state &= ~(QStyle::State_HasFocus | QStyle::State_MouseOver);
    painter.save();
    painter.setClipRect(cell.rect, Qt::IntersectClip);
    painter.fillRect(cell.rect, row.palette.brush(QPalette::Button));
    const auto* style = table_.style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &row, &painter, &table_);
    QStyleOptionViewItem arrow = row;
    arrow.rect = Arrow(index);
    arrow.state |= QStyle::State_Children;
    arrow.state.setFlag(QStyle::State_Open, index.data(kUnfoldedRole).toBool());
    style->drawPrimitive(QStyle::PE_IndicatorBranch, &arrow, &painter, &table_);
    row.rect.setLeft(arrow.rect.right() + 1);
    PaintText(painter, row);
    if (current) {
        QStyleOptionFocusRect frame;
        frame.QStyleOption::operator=(row);
        frame.rect = WholeRow(index);
        frame.backgroundColor = row.palette.color(QPalette::Button);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &frame, &painter, &table_);
    }
    painter.restore();
}

void GroupDelegate::PaintText(QPainter& painter, const QStyleOptionViewItem& row) const {
    const auto* style = table_.style();
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &table_) + 1;
    const auto place = row.rect.adjusted(margin, 0, -margin, 0);
    const bool selected = row.state.testFlag(QStyle::State_Selected);
    painter.setFont(row.font);
    // Panels of selected rows have the highlight's colours, others are like a button.
    style->drawItemText(&painter, place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, row.palette,
                        true, row.fontMetrics.elidedText(row.text, Qt::ElideRight, place.width()),
                        selected ? QPalette::HighlightedText : QPalette::ButtonText);
}

QSize GroupDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    auto size = QStyledItemDelegate::sizeHint(option, index);
    // The text of a group's row does not belong to the column it stands in.
    if (index.data(kGroupLevelRole).isValid())
        size.setWidth(0);
    else if (index.column() == 0)
        size.rwidth() += index.data(kIndentRole).toInt() * Step();
    return size;
}

}  // namespace pellago
