#pragma once

#include <QMimeData>
#include <QPoint>
#include <optional>

class QPixmap;
class QWidget;

namespace pellago {

struct DraggedColumn {
    int column;
    bool is_group;  ///< the column's chip in the group area is dragged, not its header
};

/// What is offered while a column of a grid is dragged. It means something inside this process alone, and
/// only to the grid that the column belongs to: to others it has no content.
class ColumnDrag final : public QMimeData {
public:
    ColumnDrag(const QWidget* grid, const DraggedColumn& dragged);

    /// None when `offered` is not a column of that grid.
    static std::optional<DraggedColumn> In(const QMimeData* offered, const QWidget* grid);

private:
    const QWidget* grid_;
    DraggedColumn dragged_;
};

/// Drags the column until the person lets go of it; serves all events meanwhile, so that `source` may be gone
/// afterwards.
void DragColumn(QWidget* source, const QWidget* grid, const DraggedColumn& dragged, const QPixmap& picture,
                QPoint hot_spot);

}  // namespace pellago
