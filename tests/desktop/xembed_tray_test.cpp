#include <QApplication>
#include <QMenu>
#include <QMouseEvent>
#include <QPixmap>
#include <QProcess>
#include <QScreen>
#include <optional>

#include "tray_fixture.h"

// A real tray of the XEmbed kind, on a desktop without one on its bus and without a service for
// notifications.
namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::WaitUntil;

/// The tray's panel, ended with the object.
class Trayer final {
public:
    Trayer() {
        process_.setProcessChannelMode(QProcess::ForwardedChannels);
        process_.start("trayer", {"--edge", "bottom"});
    }
    ~Trayer() {
        process_.kill();
        process_.waitForFinished();
    }
    Trayer(const Trayer&) = delete;
    Trayer& operator=(const Trayer&) = delete;

private:
    QProcess process_;
};

/// Whether the icon's ground is to be seen on the screen.
bool IconOnScreen() {
    const auto screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    const auto wanted =
        IconFromHandle(LoadIcon("pellago")).pixmap(QSize(16, 16), 1.0).toImage().pixelColor(12, 2);
    int seen = 0;
    for (int y = screen.height() - 40; y < screen.height(); ++y)
        for (int x = 0; x < screen.width(); ++x) {
            const auto colour = screen.pixelColor(x, y);
            seen += std::abs(colour.red() - wanted.red()) + std::abs(colour.green() - wanted.green()) +
                        std::abs(colour.blue() - wanted.blue()) <
                    40;
        }
    return seen >= 4;
}

QWidget* TopLevel(const char* name) {
    for (auto* widget : QApplication::topLevelWidgets())
        if (widget->inherits(name) && widget->isVisible()) return widget;
    return nullptr;
}

void Press(QEvent::Type type, Qt::MouseButton button) {
    QMouseEvent event(type, QPointF(3, 3), QPointF(3, 3), button, button, Qt::NoModifier);
    QApplication::sendEvent(TopLevel("QSystemTrayIconSys"), &event);
}

struct AnXembedTray : test::ATray {
    bool AddAndWait() { return Add(u"<b>Pellago</b>") && WaitUntil(IconOnScreen, 10s); }
};

TEST_F(AnXembedTray, DocksTheIconAndDocksItAgain) {
    std::vector<bool> changes;
    OnNotificationAreaChange([&] { changes.push_back(NotificationAreaAvailable()); });
    ASSERT_TRUE(Add(u"<b>Pellago</b>"));
    test::PumpFor(200ms);
    EXPECT_FALSE(NotificationAreaAvailable());
    std::optional<Trayer> panel(std::in_place);
    ASSERT_TRUE(WaitUntil(IconOnScreen, 10s));
    EXPECT_EQ(TopLevel("QSystemTrayIconSys")->toolTip(), "<p>&lt;b&gt;Pellago&lt;/b&gt;</p>");
    panel.reset();
    EXPECT_TRUE(WaitUntil([&] { return changes.size() == 2 && !IconOnScreen(); }, 10s));
    panel.emplace();
    EXPECT_TRUE(WaitUntil([&] { return changes.size() == 3 && IconOnScreen(); }, 10s));
    EXPECT_THAT(changes, testing::ElementsAre(true, false, true));
}

TEST_F(AnXembedTray, TellsOfClicksAndOpensItsMenuByItself) {
    const Trayer panel;
    ASSERT_TRUE(AddAndWait());
    Press(QEvent::MouseButtonPress, Qt::LeftButton);
    EXPECT_TRUE(Hears({WM_LBUTTONDOWN, WM_LBUTTONUP}));
    Press(QEvent::MouseButtonDblClick, Qt::LeftButton);
    EXPECT_TRUE(Hears({WM_LBUTTONDBLCLK, WM_LBUTTONUP}));
    Press(QEvent::MouseButtonPress, Qt::RightButton);
    EXPECT_TRUE(Hears({WM_RBUTTONDOWN, WM_RBUTTONUP}));

    QMenu menu;
    menu.addAction("Open");
    EXPECT_TRUE(SetNotifyIconMenu(window, 9, &menu));
    ASSERT_TRUE(WaitUntil([] { return TopLevel("QSystemTrayIconSys") && IconOnScreen(); }, 10s));
    Press(QEvent::MouseButtonPress, Qt::RightButton);
    EXPECT_TRUE(menu.isVisible());
    menu.close();
    test::PumpFor(50ms);
    EXPECT_THAT(codes, testing::IsEmpty());

    on_code = [&](std::int32_t) { Delete(); };
    Press(QEvent::MouseButtonPress, Qt::LeftButton);
    EXPECT_TRUE(Hears({WM_LBUTTONDOWN})) << "the last of a deleted icon";
    EXPECT_TRUE(WaitUntil([] { return !IconOnScreen(); }, 10s));
}

TEST_F(AnXembedTray, ShowsBalloonsWhereNoServiceDoes) {
    const Trayer panel;
    ASSERT_TRUE(AddAndWait());
    Balloon(u"title", u"text");
    EXPECT_TRUE(Hears({NIN_BALLOONSHOW}));
    ASSERT_NE(TopLevel("QBalloonTip"), nullptr);
    Press(QEvent::MouseButtonPress, Qt::MiddleButton);
    EXPECT_TRUE(Hears({NIN_BALLOONUSERCLICK}));
    Balloon(u"title", u"text");
    EXPECT_TRUE(Hears({NIN_BALLOONSHOW}));
    Balloon(u"", u"");
    EXPECT_TRUE(Hears({NIN_BALLOONHIDE}));
    EXPECT_EQ(TopLevel("QBalloonTip"), nullptr);
}

}  // namespace
}  // namespace pellago
