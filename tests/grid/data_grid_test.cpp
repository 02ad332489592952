#include <gmock/gmock.h>

#include <QContextMenuEvent>
#include <QScrollBar>

#include "data_grid_fixture.h"

namespace pellago {
namespace {

using test::ADataGrid;
using test::kColumns;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Gt;
using testing::Lt;
using testing::SizeIs;

TEST_F(ADataGrid, KeepsWhatIsTypedInAFilterWhileTheRowsChange) {
    Show(0, 100);
    Cell(1)->setFocus();
    on_filter = [&] { rows->Reset(); };
    Key(Qt::Key_B);
    Key(Qt::Key_C);
    Key(Qt::Key_Left);
    Key(Qt::Key_X);
    EXPECT_EQ(grid->Columns()[1].FilterText(), "bxc");
    EXPECT_EQ(Cell(1)->cursorPosition(), 2);
    EXPECT_EQ(Focus(), "filter1");
    EXPECT_EQ(grid->Col(), 1);
    grid->Columns()[0].FilterText("silent");
    QApplication::processEvents();
    EXPECT_EQ(Cell(0)->text(), "silent");
    EXPECT_THAT(filtered, ElementsAre(1, 1, 1));
    Key(Qt::Key_Return);
    EXPECT_EQ(grid->Table().currentIndex(), rows->index(0, 1));
    on_filter = [&] { delete grid.data(); };
    Cell(1)->setFocus();
    Key(Qt::Key_Y);
    EXPECT_TRUE(grid.isNull());
}

TEST_F(ADataGrid, LeavesTheRowsInPlaceWhenAFilterMakesItsColumnTheCurrentOne) {
    Show(0, 1000);
    auto& table = grid->Table();
    table.setCurrentIndex(rows->index(0, 0));
    table.verticalScrollBar()->setValue(500);
    Cell(2)->setFocus();
    Key(Qt::Key_1);
    EXPECT_EQ(table.currentIndex(), rows->index(0, 2));
    EXPECT_EQ(table.verticalScrollBar()->value(), 500);
}

TEST_F(ADataGrid, HasItsFilterCellsExactlyUnderTheirHeaders) {
    Show(0, 100);
    const auto expect_aligned = [&](const char* when) {
        QApplication::processEvents();
        const int bottom = Header()->mapTo(grid, QPoint(0, Header()->height())).y();
        for (int column = 0; column < kColumns; ++column) {
            const QRect cell(Cell(column)->mapTo(grid, QPoint(0, 0)), Cell(column)->size());
            const QPoint section =
                Header()->viewport()->mapTo(grid, QPoint(Header()->sectionViewportPosition(column), 0));
            EXPECT_EQ(cell.left(), section.x()) << when << column;
            EXPECT_EQ(cell.width(), Header()->sectionSize(column)) << when << column;
            EXPECT_EQ(cell.bottom() + 1, bottom) << when << column;
            EXPECT_GE(cell.height(), Cell(column)->fontMetrics().height()) << when << column;
        }
    };
    expect_aligned("at first");
    Header()->resizeSection(1, 33);
    expect_aligned("after a resize");
    grid->Table().horizontalScrollBar()->setValue(57);
    EXPECT_EQ(grid->Table().horizontalScrollBar()->value(), 57);
    expect_aligned("scrolled");
    rows->Reset();
    expect_aligned("after a reset");
    const int border = Header()->sectionViewportPosition(1) + 32;
    QTest::mousePress(Header()->viewport(), Qt::LeftButton, Qt::NoModifier, {border, 5});
    QTest::mouseMove(Header()->viewport(), {border + 20, 5});
    QTest::mouseRelease(Header()->viewport(), Qt::LeftButton, Qt::NoModifier, {border + 20, 5});
    EXPECT_EQ(Header()->sectionSize(1), 53);
    expect_aligned("resized by the mouse");
}

TEST_F(ADataGrid, IsWalkedThroughWithTab) {
    Show(0, 100);
    grid->GroupColumns({4, 1});
    dialog.findChild<QWidget*>("before")->setFocus();
    std::vector<std::string> walked;
    for (int steps = 0; steps < 10; ++steps) {
        Key(Qt::Key_Tab);
        walked.push_back(Focus().toStdString());
    }
    EXPECT_THAT(walked, ElementsAre("group4", "group1", "filter0", "filter1", "filter2", "filter3", "filter4",
                                    "filter5", "", "after"));
    Cell(5)->setFocus();
    EXPECT_FALSE(Cell(5)->visibleRegion().isEmpty());
    EXPECT_EQ(Cell(5)->accessibleName(), "Filter for Error");
    for (const auto key : {Qt::Key_Down, Qt::Key_Enter, Qt::Key_Return}) {
        Cell(0)->setFocus();
        Key(key);
        EXPECT_TRUE(grid->Table().hasFocus());
    }
    Key(Qt::Key_Return);
    EXPECT_EQ(clicks, 0) << "the dialog's default button was pressed";
}

TEST_F(ADataGrid, GroupsByTheColumnsThatAreDroppedOnItsArea) {
    Show(0, 100);
    EXPECT_TRUE(Drop(Area(), {3, false}, 200));
    EXPECT_TRUE(Drop(Area(), {1, false}, 1));
    EXPECT_TRUE(Drop(Area(), {5, false}, Chip(3)->x() - 2));
    EXPECT_TRUE(Drop(Area(), {1, true}, Chip(3)->x() - 2));
    EXPECT_TRUE(Drop(Area(), {3, true}, 400)) << "where it is";
    EXPECT_TRUE(Drop(grid, {5, true}, 10)) << "out of the area";
    EXPECT_FALSE(Drop(grid, {1, false}, 10)) << "a header";
    EXPECT_THAT(groupings, ElementsAre(ElementsAre(3), ElementsAre(1, 3), ElementsAre(1, 5, 3),
                                       ElementsAre(5, 1, 3), ElementsAre(1, 3)));
    EXPECT_EQ(Chip(3)->accessibleName(), "Grouped by New, 2 of 2");
    EXPECT_LT(Chip(1)->geometry().right(), Chip(3)->x());
    EXPECT_FALSE(Drop(Area(), ColumnDrag(Area(), {0, false}), {5, 5})) << "another grid's";
    QMimeData text;
    text.setText("Time");
    EXPECT_FALSE(Drop(Area(), text, {5, 5}));
    EXPECT_EQ(groupings.size(), 5U);
}

TEST_F(ADataGrid, MarksWhereADraggedColumnWouldBePut) {
    Show(0, 1);
    const auto marked = [&] {
        const auto picture = Area()->grab().toImage();
        std::vector<int> columns;
        const auto mark = Area()->palette().color(QPalette::Highlight);
        for (int column = 0; column < picture.width(); ++column)
            if (picture.pixelColor(column, picture.height() / 2) == mark) columns.push_back(column);
        return columns;
    };
    const auto marks = [&](int x) {
        const ColumnDrag offered(grid, {0, false});
        QDragEnterEvent enter({x, 5}, Qt::MoveAction, &offered, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(Area(), &enter);
        return marked();
    };
    grid->GroupColumns({2, 3});
    const int first = Chip(2)->x();
    const int second = Chip(3)->x();
    EXPECT_THAT(marks(first + 1), AllOf(SizeIs(3), Each(Lt(first))));
    EXPECT_THAT(marks(second + 1),
                AllOf(SizeIs(3), Each(AllOf(Gt(first + Chip(2)->width() - 1), Lt(second)))));
    EXPECT_THAT(marks(400), AllOf(SizeIs(3), Each(Gt(second + Chip(3)->width() - 1))));
    QDragLeaveEvent leave;
    QApplication::sendEvent(Area(), &leave);
    EXPECT_THAT(marked(), SizeIs(0));
}

TEST_F(ADataGrid, HasChipsThatKeysMoveAndRemove) {
    Show(0, 100);
    grid->GroupColumns({0, 1, 2});
    Chip(0)->setFocus();
    Key(Qt::Key_Left, Qt::ControlModifier);
    Key(Qt::Key_Right, Qt::ControlModifier);
    Key(Qt::Key_Right, Qt::ControlModifier);
    Key(Qt::Key_Right, Qt::ControlModifier);
    Key(Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(Focus(), "group0");
    Key(Qt::Key_Delete);
    EXPECT_EQ(Focus(), "group2") << "the next one";
    Key(Qt::Key_Delete);
    EXPECT_EQ(Focus(), "group1") << "the last one";
    Key(Qt::Key_Delete);
    EXPECT_EQ(Focus(), "filter0");
    EXPECT_THAT(groupings, ElementsAre(ElementsAre(1, 0, 2), ElementsAre(1, 2, 0), ElementsAre(1, 0, 2),
                                       ElementsAre(1, 2), ElementsAre(1), ElementsAre()));
}

TEST_F(ADataGrid, GroupsFromItsMenus) {
    const std::string group = "Group by This Column";
    const std::string remove = "Remove from Grouping";
    const std::string all = "Remove All Groupings";
    Show(0, 100);
    const auto ask_header = [&](int x) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, {x, 5}, Header()->mapToGlobal(QPoint(x, 5)));
        QApplication::sendEvent(Header()->viewport(), &event);
    };
    ask_header(Header()->sectionViewportPosition(1) + 10);
    EXPECT_THAT(Choose(group), ElementsAre(group));
    grid->Table().setFocus();
    grid->Table().setCurrentIndex(rows->index(3, 2));
    Key(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_THAT(Choose(group), ElementsAre(group, all));
    QContextMenuEvent key(QContextMenuEvent::Keyboard, {1, 1}, grid->mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(&grid->Table(), &key);
    EXPECT_THAT(Choose(remove), ElementsAre(remove, all));
    Chip(1)->setFocus();
    Key(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_THAT(Choose(all), ElementsAre(remove, all));
    EXPECT_THAT(groupings, ElementsAre(ElementsAre(1), ElementsAre(1, 2), ElementsAre(1), ElementsAre()));
    ask_header(Header()->length() + 5);
    EXPECT_THAT(Choose(""), ElementsAre());
}

TEST_F(ADataGrid, FoldsAndUnfoldsGroupsByKeys) {
    Show(3, 2);
    auto& table = grid->Table();
    table.setFocus();
    table.setCurrentIndex(rows->index(1, 2));
    const auto press = [&](Qt::Key key) {
        Key(key);
        return std::pair(rows->rowCount(), Current());
    };
    EXPECT_EQ(press(Qt::Key_Return), std::pair(5, 1));
    EXPECT_EQ(press(Qt::Key_Enter), std::pair(3, 1));
    EXPECT_EQ(press(Qt::Key_Right), std::pair(5, 1));
    EXPECT_EQ(press(Qt::Key_Right), std::pair(5, 2)) << "into the group";
    EXPECT_EQ(press(Qt::Key_Down), std::pair(5, 3));
    EXPECT_EQ(press(Qt::Key_Left), std::pair(5, 1)) << "to the group's row";
    EXPECT_EQ(press(Qt::Key_Left), std::pair(3, 1));
    EXPECT_EQ(press(Qt::Key_Left), std::pair(3, 1)) << "folded, and in no other group";
    EXPECT_EQ(press(Qt::Key_Plus), std::pair(5, 1));
    EXPECT_EQ(press(Qt::Key_Minus), std::pair(3, 1));
    EXPECT_EQ(grid->Col(), 2);
}

TEST_F(ADataGrid, FoldsAndUnfoldsGroupsByTheMouse) {
    Show(30, 2);
    auto* viewport = grid->Table().viewport();
    grid->Table().verticalScrollBar()->setValue(5);
    QTest::mouseClick(viewport, Qt::LeftButton, {}, At(6, 8));
    EXPECT_EQ(rows->rowCount(), 32) << "the arrow";
    EXPECT_EQ(grid->Table().verticalScrollBar()->value(), 5);
    QTest::mouseClick(viewport, Qt::LeftButton, {}, At(6, 150));
    EXPECT_EQ(rows->rowCount(), 32);
    QTest::mouseDClick(viewport, Qt::LeftButton, {}, At(6, 150));
    EXPECT_EQ(rows->rowCount(), 30);
    EXPECT_EQ(Current(), 6);
}

TEST_F(ADataGrid, WritesAGroupsTextOverTheWholeRow) {
    Show(1, 2);
    grid->Table().setFocus();
    Key(Qt::Key_Plus);
    for (int column = 0; column < kColumns; ++column) Header()->resizeSection(column, 50);
    auto* viewport = grid->Table().viewport();
    QApplication::processEvents();
    const auto row = [&](int number) {
        return QRect(0, grid->Table().rowViewportPosition(number), 300, grid->Table().rowHeight(number));
    };
    const auto whole = viewport->grab(row(0)).toImage();
    const auto written = [&](const QImage& picture, const QRect& part) {
        for (int x = part.left(); x <= part.right(); ++x)
            if (picture.pixelColor(x, part.center().y()) !=
                picture.pixelColor(part.left(), part.center().y()))
                return true;
        return false;
    };
    EXPECT_TRUE(written(whole, {100, 4, 50, 16})) << "in the third column";
    EXPECT_EQ(viewport->grab(QRect(110, row(0).top(), 30, row(0).height())).toImage(),
              whole.copy(110, 0, 30, row(0).height()))
        << "a part that is painted alone";
    const auto inside = viewport->grab(row(1)).toImage();
    EXPECT_FALSE(written(inside, {2, 0, 18, inside.height()})) << "a row inside a group is indented";
    EXPECT_TRUE(written(inside, {20, 0, 30, inside.height()}));
}

TEST_F(ADataGrid, ReadsTheRowsThatAreVisibleAndNoOthers) {
    Show(0, 10'000'000);
    QApplication::processEvents();
    const int visible = grid->Table().viewport()->height() / grid->Table().rowHeight(0) + 2;
    const auto reads_of = [&](const std::function<void()>& act) {
        rows->reads = 0;
        act();
        QApplication::processEvents();
        return rows->reads / (visible * kColumns);
    };
    constexpr int kReadsOfACell = 40;  // a dozen roles, and some paintings
    EXPECT_LT(reads_of([&] { grid->Table().setFocus(); }), kReadsOfACell);
    EXPECT_LT(reads_of([&] { Key(Qt::Key_End, Qt::ControlModifier); }), kReadsOfACell);
    EXPECT_EQ(Current(), 9'999'999);
    EXPECT_LT(reads_of([&] { Key(Qt::Key_Q); }), kReadsOfACell) << "a letter in the table";
    EXPECT_LT(reads_of([&] { grid->Table().resizeColumnToContents(0); }), kReadsOfACell);
    EXPECT_LT(reads_of([&] { rows->Reset(); }), kReadsOfACell);
}

}  // namespace
}  // namespace pellago
