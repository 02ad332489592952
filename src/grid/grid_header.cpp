#include "grid_header.h"

#include <QApplication>
#include <QLineEdit>
#include <QMouseEvent>
#include <QStyle>
#include <utility>

namespace pellago {

GridHeader::GridHeader(const QStringList& captions) : QHeaderView(Qt::Horizontal) {
    setHighlightSections(false);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    // A double click on a border fits the column to the visible rows, not to a thousand that must be read.
    setResizeContentsPrecision(0);
    for (const auto& caption : captions) {
        auto* cell = new QLineEdit(this);  // owned by the header
        cell->setObjectName(QStringLiteral("filter%1").arg(cells_.size()));
        cell->setAccessibleName(QStringLiteral("Filter for %1").arg(caption));
        cell->setPlaceholderText(QStringLiteral("Filter"));
        cells_.push_back(cell);
    }
    connect(this, &QHeaderView::sectionResized, this, [this] { PlaceCells(); });
    connect(this, &QHeaderView::sectionCountChanged, this, [this] { PlaceCells(); });
    PlaceCells();
}

int GridHeader::CellHeight() const { return cells_.empty() ? 0 : cells_.front()->sizeHint().height(); }

QSize GridHeader::sizeHint() const {
    const auto sections = QHeaderView::sizeHint();
    return {sections.width(), sections.height() + CellHeight()};
}

void GridHeader::updateGeometries() {
    setViewportMargins(0, 0, 0, CellHeight());
    QHeaderView::updateGeometries();
    PlaceCells();
}

void GridHeader::resizeEvent(QResizeEvent* event) {
    QHeaderView::resizeEvent(event);
    PlaceCells();
}

void GridHeader::PlaceCells() {
    int column = 0;
    for (auto* cell : cells_) {
        const bool shown = column < count() && !isSectionHidden(column);
        if (shown)
            cell->setGeometry(sectionViewportPosition(column), viewport()->geometry().bottom() + 1,
                              sectionSize(column), CellHeight());
        cell->setVisible(shown);
        ++column;
    }
}

// True where a press makes the base class resize a section.
bool GridHeader::IsAtBorder(int x) const {
    const int section = logicalIndexAt(x);
    if (section < 0) return true;
    const int grip = style()->pixelMetric(QStyle::PM_HeaderGripMargin, nullptr, this);
    const int left = sectionViewportPosition(section);
    return (visualIndex(section) > 0 && x < left + grip) || x > left + sectionSize(section) - grip;
}

void GridHeader::mousePressEvent(QMouseEvent* event) {
    grip_ = event->position().toPoint();
    if (event->button() == Qt::LeftButton && !IsAtBorder(grip_.x()))
        pressed_ = logicalIndexAt(grip_);
    else
        QHeaderView::mousePressEvent(event);
}

void GridHeader::mouseMoveEvent(QMouseEvent* event) {
    if (pressed_ < 0 || !(event->buttons() & Qt::LeftButton)) {
        QHeaderView::mouseMoveEvent(event);
        return;
    }
    const auto way = event->position().toPoint() - grip_;
    if (way.manhattanLength() < QApplication::startDragDistance()) return;
    drag_(std::exchange(pressed_, -1), grip_);
}

void GridHeader::mouseReleaseEvent(QMouseEvent* event) {
    if (std::exchange(pressed_, -1) < 0) QHeaderView::mouseReleaseEvent(event);
}

}  // namespace pellago
