#pragma once

#include <QHeaderView>
#include <QPoint>
#include <QStringList>
#include <functional>
#include <utility>
#include <vector>

class QLineEdit;

namespace pellago {

/// A table's horizontal header with a filter cell under each section, and sections that can be dragged away.
class GridHeader final : public QHeaderView {
public:
    explicit GridHeader(const QStringList& captions);

    const std::vector<QLineEdit*>& Cells() const { return cells_; }
    /// Called when the person has begun to drag a section; `grip` is where it was taken, in the viewport.
    void OnDrag(std::function<void(int column, QPoint grip)> handler) { drag_ = std::move(handler); }
    /// Puts the cells under their sections; to be called when the table has scrolled.
    void PlaceCells();

    QSize sizeHint() const override;

protected:
    void updateGeometries() override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    int CellHeight() const;
    bool IsAtBorder(int x) const;

    std::vector<QLineEdit*> cells_;
    std::function<void(int, QPoint)> drag_;
    int pressed_ = -1;  ///< the section that a press may become a drag of
    QPoint grip_;
};

}  // namespace pellago
