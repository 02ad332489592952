#include "desktop/status_panel.h"

#include <QPainter>
#include <QStyle>

namespace pellago {

StatusPanel::StatusPanel(const QString& line, QWidget* parent) : QLabel(parent) {
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    Line(line);
}

void StatusPanel::Line(const QString& line) {
    setAccessibleName(line);
    update();
}

QSize StatusPanel::sizeHint() const { return {0, fontMetrics().height()}; }

QSize StatusPanel::minimumSizeHint() const { return sizeHint(); }

void StatusPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    // Titles may hold line breaks.
    const auto line = fontMetrics().elidedText(accessibleName().simplified(), Qt::ElideRight, width());
    style()->drawItemText(&painter, rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, palette(),
                          isEnabled(), line, foregroundRole());
}

}  // namespace pellago
