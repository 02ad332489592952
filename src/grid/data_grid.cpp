#include "grid/data_grid.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>
#include <QPixmap>
#include <QPointer>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "desktop/event_handler.h"
#include "grid/column_drag.h"
#include "grid_header.h"
#include "grid_table.h"
#include "group_area.h"

namespace pellago {
namespace {

constexpr int kMoved = -1;  ///< stands where a column was that is being moved

}  // namespace

GridColumn::GridColumn(std::string caption, std::string data_field, QLineEdit* cell)
    : caption_(std::move(caption)), data_field_(std::move(data_field)), cell_(cell) {}

std::string GridColumn::FilterText() const { return cell_->text().toStdString(); }

void GridColumn::FilterText(const std::string& text) { cell_->setText(QString::fromStdString(text)); }

DataGrid::DataGrid(const std::vector<Field>& fields, QWidget* parent) : QWidget(parent) {
    QStringList captions;
    for (const auto& field : fields) captions << QString::fromStdString(field.caption);
    MakeGroupArea(captions);
    MakeTable(captions);
    for (const auto& field : fields) {
        auto* cell = header_->Cells().at(columns_.size());
        WatchCell(cell, static_cast<int>(columns_.size()));
        columns_.emplace_back(field.caption, field.data_field, cell);
    }
    auto* layout = new QVBoxLayout(this);  // owned by the grid
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(group_area_);
    layout->addWidget(table_, 1);
    setAcceptDrops(true);
    // The table was made before its header's cells.
    setTabOrder(header_->Cells().back(), table_);
}

void DataGrid::MakeGroupArea(const QStringList& captions) {
    GroupRequests requests;
    requests.place = [this](int column, int place) { Place(column, place); };
    requests.remove = [this](int column) { Remove(column); };
    requests.menu = [this](int column, QPoint position) { ShowMenu(column, position); };
    requests.drag = [this](GroupChip& chip, QPoint grip) { DragChip(chip, grip); };
    group_area_ = new GroupArea(captions, std::move(requests), this);  // owned by the grid
}

void DataGrid::MakeTable(const QStringList& captions) {
    table_ = new GridTable(this);
    header_ = new GridHeader(captions);  // owned by the table
    table_->setHorizontalHeader(header_);
    table_->OnCurrentColumn([this](int column) { column_ = column; });
    table_->OnMenu([this](int column, QPoint position) {
        if (column < 0)
            ShowMenuOfCurrentColumn();
        else
            ShowMenu(column, position);
    });
    connect(table_->horizontalScrollBar(), &QScrollBar::valueChanged, header_,
            [this] { header_->PlaceCells(); });
    // The text of a group's row goes over all columns.
    connect(header_, &QHeaderView::sectionResized, table_->viewport(),
            [this] { table_->viewport()->update(); });
    header_->OnDrag([this](int column, QPoint grip) { DragHeader(column, grip); });
    header_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header_, &QWidget::customContextMenuRequested, this, [this](QPoint position) {
        ShowMenu(header_->logicalIndexAt(position), header_->viewport()->mapToGlobal(position));
    });
}

void DataGrid::WatchCell(QLineEdit* cell, int column) {
    cell->installEventFilter(this);
    connect(cell, &QLineEdit::textEdited, this, [this, column] {
        Col(column);
        QTimer::singleShot(0, this, [this, column]() noexcept {
            const auto handler = filter_changed_;
            if (handler) RunHandler([&] { handler(column); });
        });
    });
}

QTableView& DataGrid::Table() const { return *table_; }

void DataGrid::Model(QAbstractItemModel* model) {
    const QPointer<QItemSelectionModel> before = table_->selectionModel();
    table_->setModel(model);
    if (before != table_->selectionModel()) delete before.data();
}

void DataGrid::Col(int column) {
    column_ = column;
    const auto current = table_->currentIndex();
    if (!current.isValid() || column < 0) return;
    // The rows do not scroll.
    const bool scrolls = table_->hasAutoScroll();
    table_->setAutoScroll(false);
    table_->selectionModel()->setCurrentIndex(current.siblingAtColumn(column), QItemSelectionModel::NoUpdate);
    table_->setAutoScroll(scrolls);
}

bool DataGrid::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) return HandleCellKey(static_cast<QKeyEvent*>(event)->key());
    if (event->type() == QEvent::FocusIn) {
        const auto& cells = header_->Cells();
        Reveal(static_cast<int>(std::find(cells.begin(), cells.end(), watched) - cells.begin()));
    }
    return false;
}

bool DataGrid::HandleCellKey(int key) {
    if (key != Qt::Key_Down && key != Qt::Key_Return && key != Qt::Key_Enter) return false;
    if (table_->model() && !table_->currentIndex().isValid())
        table_->setCurrentIndex(table_->model()->index(0, std::max(column_, 0)));
    table_->setFocus(Qt::OtherFocusReason);
    return true;
}

void DataGrid::Reveal(int column) {
    const int left = header_->sectionPosition(column);
    const int right = left + header_->sectionSize(column);
    auto* bar = table_->horizontalScrollBar();
    if (right > bar->value() + table_->viewport()->width())
        bar->setValue(right - table_->viewport()->width());
    if (left < bar->value()) bar->setValue(left);
}

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
