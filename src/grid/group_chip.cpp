#include "group_chip.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleOptionButton>
#include <QStylePainter>

namespace pellago {

GroupChip::GroupChip(int column, const QString& caption, const GroupRequests& requests, QWidget* parent)
    : QPushButton(parent), column_(column), caption_(caption), requests_(requests) {
    setObjectName(QStringLiteral("group%1").arg(column));
    auto text = caption;
    setText(text.replace(QLatin1Char('&'), QLatin1String("&&")));
    setAccessibleDescription(QStringLiteral("Delete removes it; Ctrl+Left and Ctrl+Right change the order"));
    setAutoDefault(false);
    setFocusPolicy(Qt::StrongFocus);
    connect(this, &QPushButton::clicked, this, [this] { ShowMenu(); });
}

void GroupChip::Place(int place, int count) {
    place_ = place;
    setAccessibleName(QStringLiteral("Grouped by %1, %2 of %3").arg(caption_).arg(place + 1).arg(count));
}

// A narrow chip shows as much of its caption as fits.
void GroupChip::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    const auto inside = style()->subElementRect(QStyle::SE_PushButtonContents, &option, this);
    option.text = fontMetrics().elidedText(option.text, Qt::ElideRight, inside.width(), Qt::TextShowMnemonic);
    painter.drawControl(QStyle::CE_PushButton, option);
}

void GroupChip::keyPressEvent(QKeyEvent* event) {
    if (!HandleKey(*event)) QPushButton::keyPressEvent(event);
}

bool GroupChip::HandleKey(const QKeyEvent& event) {
    const bool ctrl = event.modifiers().testFlag(Qt::ControlModifier);
    switch (event.key()) {
        case Qt::Key_Delete:
        case Qt::Key_Backspace:
            requests_.remove(column_);
            return true;
        case Qt::Key_Left:
            if (ctrl && place_ > 0) requests_.place(column_, place_ - 1);
            return ctrl;
        case Qt::Key_Right:
            if (ctrl) requests_.place(column_, place_ + 2);
            return ctrl;
        case Qt::Key_F10:
            if (event.modifiers() != Qt::ShiftModifier) return false;
            ShowMenu();
            return true;
        default:
            return false;
    }
}

void GroupChip::ShowMenu() { requests_.menu(column_, mapToGlobal(rect().bottomLeft())); }

void GroupChip::contextMenuEvent(QContextMenuEvent* event) { requests_.menu(column_, event->globalPos()); }

void GroupChip::mousePressEvent(QMouseEvent* event) {
    grip_ = event->position().toPoint();
    QPushButton::mousePressEvent(event);
}

void GroupChip::mouseMoveEvent(QMouseEvent* event) {
    const auto way = event->position().toPoint() - grip_;
    if (!isDown() || way.manhattanLength() < QApplication::startDragDistance()) {
        QPushButton::mouseMoveEvent(event);
        return;
    }
    setDown(false);
    requests_.drag(*this, grip_);
}

}  // namespace pellago
