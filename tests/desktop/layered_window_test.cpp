#include "desktop/layered_window.h"

#include <gmock/gmock.h>

#include <QPainter>
#include <QWidget>
#include <QWindow>

#include "support/wait_until.h"

namespace pellago {
namespace {

/// Left half in the colour given, right half in red.
class Painted final : public QWidget {
public:
    explicit Painted(QColor left) : left_(left) { resize(40, 20); }

    void Left(QColor left) {
        left_ = left;
        update();
    }

private:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.fillRect(rect(), Qt::red);
        painter.fillRect(0, 0, width() / 2, height(), left_);
    }

    QColor left_;
};

TEST(LayeredWindow, HasNothingWhereItsImageHasTheColourKey) {
    Painted window(QColor(1, 0, 0));
    SetLayeredWindowAttributes(window, QColor(1, 0, 0), 128, LWA_COLORKEY | LWA_ALPHA);
    window.show();
    EXPECT_EQ(window.mask(), QRegion(20, 0, 20, 20));
    window.Left(Qt::red);
    EXPECT_TRUE(test::WaitUntil([&] { return window.mask() == QRegion(0, 0, 40, 20); }));
    window.Left(QColor(1, 0, 0));
    window.resize(60, 20);
    EXPECT_EQ(window.mask(), QRegion(30, 0, 30, 20));
    EXPECT_NEAR(window.windowOpacity(), 128 / 255.0, 0.003);
    SetLayeredWindowAttributes(window, QColor(2, 0, 0), 255, LWA_COLORKEY);
    EXPECT_EQ(window.mask(), QRegion(0, 0, 60, 20)) << "nothing has exactly that colour";
    window.Left(Qt::red);
    SetLayeredWindowAttributes(window, Qt::red, 255, LWA_COLORKEY);
    EXPECT_TRUE((window.mask() & window.rect()).isEmpty()) << "all of it has that colour";
    EXPECT_FALSE(window.mask().isEmpty());
    SetLayeredWindowAttributes(window, Qt::black, 255, LWA_ALPHA);
    EXPECT_TRUE(window.mask().isEmpty());
    EXPECT_EQ(window.windowOpacity(), 1);
}

TEST(LayeredWindow, StaysWhereItIsWhenItGoesAboveTheOthers) {
    Painted window(Qt::red);
    window.move(30, 40);
    window.show();
    for (const bool topmost : {true, false}) {
        SetTopmost(window, topmost);
        EXPECT_TRUE(window.isVisible());
        EXPECT_EQ(window.pos(), QPoint(30, 40));
        EXPECT_EQ(window.windowFlags().testFlag(Qt::WindowStaysOnTopHint), topmost);
        EXPECT_EQ(window.windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint), topmost);
    }
}

}  // namespace
}  // namespace pellago
