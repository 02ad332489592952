#pragma once

#include <QLabel>

namespace pellago {

/// One line of plain text that changes often: it takes the width that it is given, and ends in an ellipsis
/// where that is too small. A label to those who cannot see it; a label's own text would have the window laid
/// out anew with every change.
class StatusPanel final : public QLabel {
public:
    StatusPanel(const QString& line, QWidget* parent);

    void Line(const QString& line);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace pellago
