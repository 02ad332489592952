#pragma once

#include <QLabel>

namespace pellago {

/// One line of plain text that changes often: it takes the width that it is given, and ends in an ellipsis
/// where that is too small.
class StatusPanel final : public QLabel {
public:
    StatusPanel(const QString& text, QWidget* parent);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace pellago
