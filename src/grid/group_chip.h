#pragma once

#include <QPushButton>
#include <functional>

namespace pellago {

class GroupChip;

/// What a person may ask of a column that rows are grouped by.
struct GroupRequests {
    std::function<void(int column, int place)> place;  ///< before the chip that stands there now
    std::function<void(int column)> remove;
    std::function<void(int column, QPoint position)> menu;
    std::function<void(GroupChip& chip, QPoint grip)> drag;
};

/// Stands for a column that rows are grouped by.
class GroupChip final : public QPushButton {
public:
    GroupChip(int column, const QString& caption, const GroupRequests& requests, QWidget* parent);

    int Column() const { return column_; }
    void Place(int place, int count);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    bool HandleKey(const QKeyEvent& event);
    void ShowMenu();

    int column_;
    int place_ = 0;
    QString caption_;
    const GroupRequests& requests_;
    QPoint grip_;
};

}  // namespace pellago
