#include "grid/data_grid.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPixmap>
#include <QPointer>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "desktop/event_handler.h"
#include "grid_header.h"
#include "grid_table.h"
#include "group_area.h"

namespace pellago {

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

}  // namespace pellago
