#include "group_area.h"

#include <QDropEvent>
#include <QEvent>
#include <QPainter>
#include <algorithm>
#include <utility>

#include "dragged_column.h"

namespace pellago {
namespace {

constexpr int kMargin = 5;
constexpr int kGap = 8;
constexpr int kMarkWidth = 3;
constexpr int kPadding = 10;  ///< of a chip's text, above and below together

}  // namespace

GroupArea::GroupArea(const QStringList& captions, GroupRequests requests, QWidget* grid)
    : QFrame(grid), requests_(std::move(requests)), grid_(grid) {
    setObjectName(QStringLiteral("groupArea"));
    setAccessibleName(QStringLiteral("Grouping"));
    setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    setAcceptDrops(true);
    for (const auto& caption : captions) {
        const int column = static_cast<int>(all_chips_.size());
        all_chips_.push_back(new GroupChip(column, caption, requests_, this));  // owned by the area
        all_chips_.back()->hide();
    }
}

QSize GroupArea::sizeHint() const {
    return {0, fontMetrics().height() + kPadding + 2 * (kMargin + frameWidth())};
}

QSize GroupArea::minimumSizeHint() const { return sizeHint(); }

void GroupArea::Columns(const std::vector<int>& columns) {
    const auto before = std::exchange(chips_, {});
    for (const int column : columns) {
        chips_.push_back(all_chips_.at(static_cast<std::size_t>(column)));
        chips_.back()->Place(static_cast<int>(chips_.size()) - 1, static_cast<int>(columns.size()));
    }
    for (auto* chip : all_chips_) {
        const bool stays = std::find(chips_.begin(), chips_.end(), chip) != chips_.end();
        if (!stays && chip->hasFocus()) PassFocusOn(chip, before);
        chip->setVisible(stays);
    }
    LayOut();
    OrderTabs();
    update();
}

// The focus of a chip that goes passes to the chip that takes its place, else to the last one.
void GroupArea::PassFocusOn(GroupChip* from, const std::vector<GroupChip*>& before) {
    if (chips_.empty()) return;
    const auto place = std::find(before.begin(), before.end(), from) - before.begin();
    auto* heir = chips_[std::min(static_cast<std::size_t>(place), chips_.size() - 1)];
    heir->show();
    heir->setFocus();
}

// Orders the chips among themselves alone: all of them are made before the window's other widgets, which so
// keep their places in the order of tabs.
void GroupArea::OrderTabs() {
    for (std::size_t place = 1; place < chips_.size(); ++place) setTabOrder(chips_[place - 1], chips_[place]);
}

// The chips stand side by side at their natural widths; where these are too wide in sum, each is narrower by
// the same share.
void GroupArea::LayOut() {
    const auto inside = contentsRect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
    const int count = static_cast<int>(chips_.size());
    int wanted = 0;
    for (const auto* chip : chips_) wanted += chip->sizeHint().width();
    const int room = std::max(inside.width() - (count - 1) * kGap, 0);
    int x = inside.left();
    for (auto* chip : chips_) {
        const int natural = chip->sizeHint().width();
        const int width = wanted > room ? natural * room / wanted : natural;
        chip->setGeometry(x, inside.top(), width, inside.height());
        x += width + kGap;
    }
}

void GroupArea::resizeEvent(QResizeEvent* /*event*/) { LayOut(); }

void GroupArea::changeEvent(QEvent* event) {
    QFrame::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) LayOut();
}

int GroupArea::PlaceAt(int x) const {
    return static_cast<int>(std::count_if(chips_.begin(), chips_.end(), [x](const GroupChip* chip) {
        return chip->geometry().center().x() < x;
    }));
}

int GroupArea::MarkPosition() const {
    if (chips_.empty()) return contentsRect().left() + kMargin / 2;
    const auto place = static_cast<std::size_t>(*mark_);
    const int half = (kGap + kMarkWidth) / 2;
    return place < chips_.size() ? chips_[place]->geometry().left() - half
                                 : chips_.back()->geometry().right() + 1 + half - kMarkWidth;
}

void GroupArea::Mark(std::optional<int> place) {
    mark_ = place;
    update();
}

void GroupArea::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    QPainter painter(this);
    const auto inside = contentsRect().adjusted(kMargin, 0, -kMargin, 0);
    if (chips_.empty()) {
        const auto hint = QStringLiteral("Drag a column header here to group by that column");
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(inside, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         fontMetrics().elidedText(hint, Qt::ElideRight, inside.width()));
    }
    if (mark_)
        painter.fillRect(MarkPosition(), inside.top() + 2, kMarkWidth, inside.height() - 4,
                         palette().brush(QPalette::Highlight));
}

void GroupArea::dragEnterEvent(QDragEnterEvent* event) { dragMoveEvent(event); }

void GroupArea::dragMoveEvent(QDragMoveEvent* event) {
    if (!ColumnDrag::In(event->mimeData(), grid_)) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::MoveAction);
    event->accept();
    Mark(PlaceAt(event->position().toPoint().x()));
}

void GroupArea::dragLeaveEvent(QDragLeaveEvent* /*event*/) { Mark(std::nullopt); }

void GroupArea::dropEvent(QDropEvent* event) {
    Mark(std::nullopt);
    const auto dragged = ColumnDrag::In(event->mimeData(), grid_);
    if (!dragged) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::MoveAction);
    event->accept();
    requests_.place(dragged->column, PlaceAt(event->position().toPoint().x()));
}

}  // namespace pellago
