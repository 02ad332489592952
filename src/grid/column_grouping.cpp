#include <QDrag>
#include <QDragEnterEvent>
#include <QMenu>
#include <QPixmap>
#include <QPointer>
#include <QTimer>
#include <algorithm>
#include <utility>

#include "desktop/event_handler.h"
#include "dragged_column.h"
#include "grid/data_grid.h"
#include "grid_header.h"
#include "group_area.h"

// How a person groups the rows of a grid by its columns: by dragging them, and by a menu.
namespace pellago {
namespace {

constexpr int kMoved = -1;  ///< stands where a column was that is being moved

}  // namespace

bool DataGrid::IsGrouped(int column) const {
    return std::find(group_columns_.begin(), group_columns_.end(), column) != group_columns_.end();
}

void DataGrid::GroupColumns(std::vector<int> columns) {
    group_columns_ = std::move(columns);
    group_area_->Columns(group_columns_);
}

void DataGrid::Place(int column, int place) {
    auto columns = group_columns_;
    // The column leaves its old place last: `place` was counted while it stood there.
    std::replace(columns.begin(), columns.end(), column, kMoved);
    columns.insert(columns.begin() + std::min(place, static_cast<int>(columns.size())), column);
    std::erase(columns, kMoved);
    Regroup(std::move(columns));
}

void DataGrid::Remove(int column) {
    auto columns = group_columns_;
    std::erase(columns, column);
    Regroup(std::move(columns));
}

void DataGrid::Regroup(std::vector<int> columns) {
    if (columns == group_columns_) return;
    GroupColumns(std::move(columns));
    // From the event loop: a drag that led here has ended by then.
    QTimer::singleShot(0, this, [this]() noexcept {
        const auto handler = group_changed_;
        if (handler) RunHandler(handler);
    });
}

void DataGrid::ShowMenu(int column, QPoint position) {
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("groupMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](const QString& text, bool enabled, std::function<void()> act) {
        auto* action = menu->addAction(text);
        action->setEnabled(enabled);
        connect(action, &QAction::triggered, this, std::move(act));
    };
    const bool grouped = IsGrouped(column);
    add(QStringLiteral("&Group by This Column"), column >= 0 && !grouped,
        [this, column] { Place(column, static_cast<int>(group_columns_.size())); });
    add(QStringLiteral("&Remove from Grouping"), grouped, [this, column] { Remove(column); });
    add(QStringLiteral("Remove &All Groupings"), !group_columns_.empty(), [this] { Regroup({}); });
    menu->popup(position);
}

void DataGrid::ShowMenuOfCurrentColumn() {
    const int left = column_ < 0 ? 0 : std::max(header_->sectionViewportPosition(column_), 0);
    ShowMenu(column_, header_->viewport()->mapToGlobal(QPoint(left, header_->viewport()->height())));
}

void DataGrid::DragHeader(int column, QPoint grip) {
    const QRect section(header_->sectionViewportPosition(column), 0, header_->sectionSize(column),
                        header_->viewport()->height());
    Drag(header_, {column, false}, header_->viewport()->grab(section), grip - section.topLeft());
}

void DataGrid::DragChip(GroupChip& chip, QPoint grip) {
    Drag(&chip, {chip.Column(), true}, chip.grab(), grip);
}

void DataGrid::Drag(QWidget* source, const DraggedColumn& dragged, const QPixmap& picture, QPoint grip) {
    const QPointer<DataGrid> self(this);
    dragging_ = true;
    DragColumn(source, this, dragged, picture, grip);
    if (self) dragging_ = false;
}

// A drag that is under way ends with its window; the desktop would go on with it.
void DataGrid::hideEvent(QHideEvent* event) {
    if (!event->spontaneous() && std::exchange(dragging_, false)) QDrag::cancel();
    QWidget::hideEvent(event);
}

// A chip can be let go of anywhere on the grid outside the group area. Not outside the grid: there the
// desktop tells a drop nobody takes no differently from a drag that was given up.
void DataGrid::dragEnterEvent(QDragEnterEvent* event) {
    const auto dragged = ColumnDrag::In(event->mimeData(), this);
    if (dragged && dragged->is_group) event->acceptProposedAction();
}

void DataGrid::dropEvent(QDropEvent* event) {
    const auto dragged = ColumnDrag::In(event->mimeData(), this);
    if (!dragged) return;
    event->acceptProposedAction();
    Remove(dragged->column);
}

}  // namespace pellago
