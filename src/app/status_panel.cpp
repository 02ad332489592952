#include "status_panel.h"

#include <QPainter>
#include <QStyle>

namespace pellago {

StatusPanel::StatusPanel(const QString& text, QWidget* parent) : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

// Not the text's: a layout is computed anew each time that one changes.
QSize StatusPanel::sizeHint() const { return {0, fontMetrics().height()}; }

QSize StatusPanel::minimumSizeHint() const { return sizeHint(); }

void StatusPanel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    // Titles may hold line breaks.
    const auto line = fontMetrics().elidedText(text().simplified(), Qt::ElideRight, width());
    style()->drawItemText(&painter, rect(), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, palette(),
                          isEnabled(), line, foregroundRole());
}

}  // namespace pellago
