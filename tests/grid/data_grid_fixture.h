#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QDropEvent>
#include <QHeaderView>
#include <QLineEdit>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QVBoxLayout>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "dragged_column.h"
#include "grid/data_grid.h"

namespace pellago::test {

inline constexpr int kColumns = 6;

/// Groups of the same number of rows, or without a group just as many rows.
class Rows final : public QAbstractTableModel {
public:
    Rows(int groups, int each) : each_(each), unfolded_(static_cast<std::size_t>(groups), false) {}

    void Reset() {
        beginResetModel();
        endResetModel();
    }
    int rowCount(const QModelIndex& /*parent*/ = {}) const override {
        if (unfolded_.empty()) return each_;
        int count = static_cast<int>(unfolded_.size());
        for (const bool unfolded : unfolded_) count += unfolded ? each_ : 0;
        return count;
    }
    int columnCount(const QModelIndex& /*parent*/ = {}) const override { return kColumns; }
    QVariant data(const QModelIndex& index, int role) const override {
        ++reads;
        const auto [group, place] = Find(index.row());
        const bool is_group = group >= 0 && place == 0;
        switch (role) {
            case Qt::DisplayRole:
                return is_group ? QStringLiteral("a group whose text is wider than its column: %1").arg(group)
                                : QStringLiteral("%1/%2").arg(index.row()).arg(index.column());
            case kGroupLevelRole:
                return is_group ? QVariant(0) : QVariant();
            case kUnfoldedRole:
                return is_group ? QVariant(unfolded_[static_cast<std::size_t>(group)]) : QVariant();
            case kIndentRole:
                return group < 0 || is_group ? 0 : 1;
            case kGroupRowRole:
                return group < 0 || is_group ? QVariant() : QVariant(index.row() - place);
            default:
                return {};
        }
    }
    bool setData(const QModelIndex& index, const QVariant& value, int role) override {
        if (role != kUnfoldedRole) return false;
        beginResetModel();
        unfolded_[static_cast<std::size_t>(Find(index.row()).first)] = value.toBool();
        endResetModel();
        return true;
    }

    mutable int reads = 0;

private:
    /// The group, -1 for none, and the place in it, where 0 is the group's own row.
    std::pair<int, int> Find(int row) const {
        int group = 0;
        for (const bool unfolded : unfolded_) {
            const int height = 1 + (unfolded ? each_ : 0);
            if (row < height) return {group, row};
            row -= height;
            ++group;
        }
        return {-1, row};
    }

    int each_;
    std::vector<bool> unfolded_;
};

/// A grid between two buttons of a dialog, and what its owner is told.
class ADataGrid : public testing::Test {
protected:
    ADataGrid() {
        auto* layout = new QVBoxLayout(&dialog);  // owned by the dialog
        auto* before = new QPushButton(&dialog);
        before->setObjectName("before");
        QObject::connect(before, &QPushButton::clicked, [this] { ++clicks; });
        std::vector<DataGrid::Field> fields;
        for (const auto* name : {"Time", "Channel", "Message", "New", "Updated", "Error"})
            fields.push_back({name, std::string("field") + name});
        grid = new DataGrid(fields, &dialog);  // owned by the dialog
        auto* after = new QPushButton(&dialog);
        after->setObjectName("after");
        layout->addWidget(before);
        layout->addWidget(grid);
        layout->addWidget(after);
        grid->OnFilterChange([this](int column) {
            filtered.push_back(column);
            if (on_filter) on_filter();
        });
        grid->OnGroupChange([this] { groupings.push_back(grid->GroupColumns()); });
        dialog.resize(420, 300);
    }

    void Show(int groups, int each) {
        rows = std::make_unique<Rows>(groups, each);
        grid->Model(rows.get());
        dialog.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    }
    QLineEdit* Cell(int column) {
        return grid->findChild<QLineEdit*>(QStringLiteral("filter%1").arg(column));
    }
    QWidget* Chip(int column) { return grid->findChild<QWidget*>(QStringLiteral("group%1").arg(column)); }
    QWidget* Area() { return grid->findChild<QWidget*>("groupArea"); }
    QHeaderView* Header() { return grid->Table().horizontalHeader(); }
    QString Focus() { return dialog.focusWidget() ? dialog.focusWidget()->objectName() : QString(); }
    void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(dialog.focusWidget(), key, modifiers);
        QApplication::processEvents();
    }
    bool Drop(QWidget* target, const QMimeData& offered, QPoint position) {
        QDragEnterEvent enter(position, Qt::MoveAction, &offered, Qt::LeftButton, Qt::NoModifier);
        enter.ignore();
        QApplication::sendEvent(target, &enter);
        QDropEvent drop(position, Qt::MoveAction, &offered, Qt::LeftButton, Qt::NoModifier);
        drop.ignore();
        QApplication::sendEvent(target, &drop);
        QApplication::processEvents();
        EXPECT_EQ(enter.isAccepted(), drop.isAccepted());
        return drop.isAccepted();
    }
    bool Drop(QWidget* target, DraggedColumn dragged, int x) {
        return Drop(target, ColumnDrag(grid, dragged), {x, 5});
    }
    /// The texts of the menu's entries that can be chosen; chooses one of them.
    std::vector<std::string> Choose(const std::string& entry) {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        std::vector<std::string> entries;
        if (!menu) return entries;
        QAction* chosen = nullptr;
        for (auto* action : menu->actions()) {
            if (!action->isEnabled()) continue;
            entries.push_back(action->text().remove(QLatin1Char('&')).toStdString());
            if (entries.back() == entry) chosen = action;
        }
        if (chosen) chosen->trigger();
        menu->close();
        QApplication::processEvents();
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return entries;
    }
    int Current() { return grid->Table().currentIndex().row(); }
    QPoint At(int row, int x) {
        return {x, grid->Table().rowViewportPosition(row) + grid->Table().rowHeight(row) / 2};
    }

    std::unique_ptr<Rows> rows;
    QDialog dialog;
    QPointer<DataGrid> grid;
    std::vector<int> filtered;
    std::function<void()> on_filter;
    std::vector<std::vector<int>> groupings;
    int clicks = 0;
};

}  // namespace pellago::test
