#include "dragged_column.h"

#include <QCoreApplication>
#include <QDrag>
#include <QPixmap>
#include <QWidget>

namespace pellago {

ColumnDrag::ColumnDrag(const QWidget* grid, const DraggedColumn& dragged) : grid_(grid), dragged_(dragged) {
    // A drag without any format is refused by some desktops.
    setData(QStringLiteral("application/x-pellago-grid-column"), {});
}

std::optional<DraggedColumn> ColumnDrag::In(const QMimeData* offered, const QWidget* grid) {
    const auto* drag = dynamic_cast<const ColumnDrag*>(offered);
    if (!drag || drag->grid_ != grid) return std::nullopt;
    return drag->dragged_;
}

void DragColumn(QWidget* source, const QWidget* grid, const DraggedColumn& dragged, const QPixmap& picture,
                QPoint hot_spot) {
    auto* drag = new QDrag(source);  // owned by the desktop's drag manager, which deletes it after the drag
    // As a child of `source` the drag would be deleted with it, in the middle of exec().
    drag->setParent(QCoreApplication::instance());
    drag->setMimeData(new ColumnDrag(grid, dragged));  // owned by the drag
    drag->setPixmap(picture);
    drag->setHotSpot(hot_spot);
    drag->exec(Qt::MoveAction);
}

}  // namespace pellago
