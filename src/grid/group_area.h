#pragma once

#include <QFrame>
#include <QStringList>
#include <optional>
#include <vector>

#include "group_chip.h"

namespace pellago {

/// The strip that columns of a grid are dragged to, to group the rows by them.
class GroupArea final : public QFrame {
public:
    GroupArea(const QStringList& captions, GroupRequests requests, QWidget* grid);

    /// The columns that rows are grouped by. A chip that stays keeps the focus.
    void Columns(const std::vector<int>& columns);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void PassFocusOn(GroupChip* from, const std::vector<GroupChip*>& before);
    void OrderTabs();
    void LayOut();
    void Mark(std::optional<int> place);
    int PlaceAt(int x) const;
    int MarkPosition() const;

    GroupRequests requests_;
    QWidget* grid_;
    std::vector<GroupChip*> all_chips_;  ///< one for each column; whether it is shown or not
    std::vector<GroupChip*> chips_;      ///< those shown, in their order
    std::optional<int> mark_;            ///< where a column that is dragged here would be put
};

}  // namespace pellago
