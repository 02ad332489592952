#include "app/catcher/link_catcher.h"

#include <gmock/gmock.h>

#include <QClipboard>
#include <QDropEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>

#include "app/catcher/channel_subscriber.h"
#include "support/main_window_fixture.h"

namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kFirstMenu =
    "Always On Top+|--|Opacity 25%|Opacity 50%|Opacity 75%+|Opacity 100%|--|Close";

class ALinkCatcher : public AMainWindow {
protected:
    ALinkCatcher() {
        RegisterLinkHandler(kLinkHandlerClass,
                            [] { return std::make_unique<ChannelSubscriber>(DataEnvironment()); });
        Load();
    }
    ~ALinkCatcher() override { RegisterLinkHandler(kLinkHandlerClass, nullptr); }

    /// Chooses the tray's entry. Null where that has closed it.
    QWidget* OpenOrClose() {
        shell.Choose("RSS Link Catcher");
        return Catcher();
    }
    static QWidget* Catcher() {
        for (auto* top : QApplication::topLevelWidgets())
            if (top->objectName() == "frmRSSLinkCatcher" && top->isVisible()) return top;
        return nullptr;
    }
    static QMenu& Menu() { return *Catcher()->findChild<QMenu*>(); }
    static std::string Entries() {
        std::string entries;
        for (const auto* entry : Menu().actions())
            entries += (entries.empty() ? "" : "|") + std::string(entry->isSeparator() ? "--" : "") +
                       entry->text().toStdString() + (entry->isChecked() ? "+" : "");
        return entries;
    }
    static void Choose(const char* caption) {
        for (auto* entry : Menu().actions())
            if (entry->text() == caption) entry->trigger();
    }
    static bool IsTopmost() { return Catcher()->windowFlags().testFlag(Qt::WindowStaysOnTopHint); }

    static void Mouse(QEvent::Type type, QPoint place, QPoint place_told, Qt::MouseButton button) {
        const auto held = type == QEvent::MouseButtonRelease ? Qt::NoButton : button;
        QMouseEvent event(type, place_told, place, type == QEvent::MouseMove ? Qt::NoButton : button, held,
                          {});
        QApplication::sendEvent(Catcher(), &event);
    }
    static void Mouse(QEvent::Type type, QPoint place, Qt::MouseButton button) {
        Mouse(type, place, place - Catcher()->pos(), button);
    }
    static void Key(int key, Qt::KeyboardModifiers modifiers) {
        QKeyEvent event(QEvent::KeyPress, key, modifiers);
        QApplication::sendEvent(Catcher(), &event);
    }

    /// What the catcher answers to a link that is dragged over it, and dropped there.
    static std::vector<Qt::DropAction> Drag(const QMimeData& data, Qt::DropActions actions = Qt::CopyAction,
                                            Qt::KeyboardModifiers modifiers = {}) {
        QDragEnterEvent enter({5, 5}, actions, &data, Qt::LeftButton, modifiers);
        QDragMoveEvent move({6, 6}, actions, &data, Qt::LeftButton, modifiers);
        QDropEvent drop({6, 6}, actions, &data, Qt::NoButton, modifiers);
        std::vector<Qt::DropAction> answers;
        for (QDropEvent* event : std::initializer_list<QDropEvent*>{&enter, &move, &drop}) {
            event->ignore();
            QApplication::sendEvent(Catcher(), event);
            answers.push_back(event->isAccepted() ? event->dropAction() : Qt::IgnoreAction);
        }
        return answers;
    }
    static void Drop(const std::string& text) {
        QMimeData data;
        data.setData("text/uri-list", "http://a.example/not-this-one\r\n");
        data.setText(QString::fromStdString(text));
        Drag(data);
    }
    /// "provider channel address" of each.
    std::vector<std::string> Channels() {
        return Column(
            "SELECT p.Provider || ' ' || c.Channel || ' ' || c.httpRSSFile AS Row FROM Channels c "
            "JOIN Providers p ON p.ID = c.Provider AND p.Active AND c.Active ORDER BY c.ID");
    }
};

TEST_F(ALinkCatcher, AddsAWebAddressAsAChannelUnlessItIsOne) {
    OpenOrClose();
    const std::string longest = "http://news.example/" + std::string(3000, 'x');
    for (const auto& text :
         {std::string("http://news.example/feed"), std::string(" \nFEED:HTTP://News.example/feed \r\nTitle"),
          std::string("http://news.example/Feed"), std::string("https://Me:pW@[2001:DB8::1]:8080/x?y#z"),
          std::string("feed://other.example"), longest, longest})
        Drop(text);
    const std::string named_after_host = "[2001:db8::1] https://Me:pW@[2001:db8::1]:8080/x?y#z";
    EXPECT_THAT(Channels(), ElementsAre("news.example http://news.example/feed http://news.example/feed",
                                        "news.example http://news.example/Feed http://news.example/Feed",
                                        named_after_host + " https://Me:pW@[2001:db8::1]:8080/x?y#z",
                                        "other.example http://other.example http://other.example",
                                        "news.example " + longest.substr(0, 100) + " " + longest));
    EXPECT_THAT(Column("SELECT Provider FROM Providers ORDER BY ID"),
                ElementsAre("news.example", "[2001:db8::1]", "other.example"));

    database->CnnRSS()->Execute("UPDATE Channels SET Active = 0; UPDATE Providers SET Active = 0");
    Drop("http://news.example/feed");
    EXPECT_THAT(Channels(), ElementsAre("news.example http://news.example/feed http://news.example/feed"));
    database->CnnRSS()->Execute("UPDATE Channels SET Active = 1; UPDATE Providers SET Active = 1");

    for (const auto* text : {"ftp://a.example/x", "file:///x", "a.example/x", " "}) Drop(text);
    EXPECT_EQ(Channels().size(), 5U);
    EXPECT_THAT(boxes, IsEmpty());
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ALinkCatcher, AcceptsLinksAloneAndNeverTakesThemAway) {
    OpenOrClose();
    QMimeData link;
    link.setData("text/uri-list", "http://a.example/1\r\n");
    EXPECT_THAT(Drag(link, Qt::LinkAction), ElementsAre(Qt::LinkAction, Qt::LinkAction, Qt::LinkAction));
    link.setData("text/uri-list", "http://a.example/2\r\n");
    EXPECT_THAT(Drag(link, Qt::CopyAction | Qt::MoveAction, Qt::ShiftModifier),
                ElementsAre(Qt::CopyAction, Qt::CopyAction, Qt::CopyAction));
    link.setData("text/uri-list", "http://a.example/3\r\n");
    EXPECT_THAT(Drag(link, Qt::MoveAction), ElementsAre(Qt::MoveAction, Qt::MoveAction, Qt::IgnoreAction));
    EXPECT_EQ(Channels().size(), 3U);
    QMimeData text;
    text.setText("http://a.example/4");
    EXPECT_THAT(Drag(text), ElementsAre(Qt::IgnoreAction, Qt::IgnoreAction, Qt::IgnoreAction));
    EXPECT_EQ(Channels().size(), 3U);
    QGuiApplication::clipboard()->setMimeData(new QMimeData);  // owned by the clipboard
    Key(Qt::Key_V, Qt::ControlModifier);
    QGuiApplication::clipboard()->setText("http://a.example/4");
    Key(Qt::Key_V, Qt::NoModifier);
    EXPECT_EQ(Channels().size(), 3U);
    Key(Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(Channels().size(), 4U);
}

TEST_F(ALinkCatcher, LeavesARunAloneAndIsServedByTheNext) {
    Feeds({"one", "two"});
    server.Answer("/dropped", {.body = Feed(Item("dropped", "l/dropped"))});
    OpenOrClose();
    DuringFeed("one", [this] { Drop(server.Url("/dropped")); });
    window->StartUpdate(update_mode::kAll, 0);
    EXPECT_EQ(Channels().size(), 3U);
    EXPECT_EQ(server.Requests("/two"), 1U);
    window->StartUpdate(update_mode::kAll, 0);
    EXPECT_THAT(Titles(), ElementsAre("one", "two", "dropped"));
    EXPECT_THAT(Column("SELECT Channel FROM Channels ORDER BY ID"), ElementsAre("feed", "feed", "feed"));
    EXPECT_THAT(reports, IsEmpty());
}

class Probe final : public LinkHandler {
public:
    Probe(int& alive, std::function<void(const Variant&)> act) : alive_(alive), act_(std::move(act)) {
        ++alive_;
    }
    ~Probe() override { --alive_; }
    void HandleLink(const Variant& link) override { act_(link); }

private:
    int& alive_;
    std::function<void(const Variant&)> act_;
};

TEST_F(ALinkCatcher, MakesAComponentForEachDropAndIsSilentWhereThatFails) {
    OpenOrClose();
    int alive = 0;
    std::vector<std::string> handled;
    const auto act = [&](const Variant& link) {
        handled.push_back(CStr(link) + " " + std::to_string(alive));
        if (handled.size() == 1) throw RunTimeError(5, "", "component");
        // Closed and opened again in the middle of its own drop.
        const QPointer<QWidget> dropped_on = Catcher();
        OpenOrClose();
        DoEvents();
        EXPECT_EQ(Catcher(), nullptr);
        EXPECT_TRUE(dropped_on) << "the desktop's drop still has it on the stack";
        EXPECT_NE(OpenOrClose(), nullptr);
    };
    RegisterLinkHandler(kLinkHandlerClass, [&] { return std::make_unique<Probe>(alive, act); });
    Drop("x");
    EXPECT_EQ(alive, 0);
    Drop("javascript:y");
    EXPECT_EQ(alive, 0);
    EXPECT_THAT(handled, ElementsAre("x 1", "javascript:y 1"));
    ASSERT_TRUE(Catcher());
    RegisterLinkHandler(kLinkHandlerClass, []() -> std::unique_ptr<LinkHandler> {
        throw RunTimeError(kCannotCreateObject, "", "factory");
    });
    Drop("x");
    RegisterLinkHandler(kLinkHandlerClass, nullptr);
    Drop("x");
    EXPECT_THAT(boxes, IsEmpty());
    EXPECT_THAT(reports, IsEmpty());
}

TEST_F(ALinkCatcher, KeepsWhatItsMenuChanges) {
    OpenOrClose();
    const auto screen = window->Desktop();
    EXPECT_EQ(Catcher()->geometry(), QRect(screen.right - 96, screen.bottom - 128, 64, 64));
    EXPECT_EQ(Catcher()->windowFlags() & Qt::WindowType_Mask, Qt::Tool);
    EXPECT_TRUE(Catcher()->windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_FALSE(Catcher()->mask().contains(QPoint(0, 0)));
    EXPECT_TRUE(Catcher()->mask().contains(QPoint(32, 0)));
    EXPECT_EQ(Entries(), kFirstMenu);
    EXPECT_TRUE(IsTopmost());
    EXPECT_NEAR(Catcher()->windowOpacity(), 192 / 255.0, 0.003);

    Choose("Opacity 25%");
    Choose("Opacity 25%");
    Choose("Always On Top");
    EXPECT_EQ(Entries(), "Always On Top|--|Opacity 25%+|Opacity 50%|Opacity 75%|Opacity 100%|--|Close");
    EXPECT_FALSE(IsTopmost());
    EXPECT_NEAR(Catcher()->windowOpacity(), 64 / 255.0, 0.003);
    Choose("Close");
    EXPECT_TRUE(WaitUntil([] { return !Catcher(); }, 10s));
    EXPECT_THAT(AMainWindow::Entries(), testing::HasSubstr("|RSS Link Catcher|"));
    EXPECT_EQ(Setting("Opacity") + Setting("CatcherTopmost"), "20");

    Setting("Opacity", "9");
    OpenOrClose();
    EXPECT_EQ(Entries(), "Always On Top|--|Opacity 25%|Opacity 50%|Opacity 75%+|Opacity 100%|--|Close");
    EXPECT_FALSE(IsTopmost());
    Choose("Always On Top");
    EXPECT_TRUE(IsTopmost());
    const auto* window_of_it = Catcher();
    OpenOrClose();
    EXPECT_FALSE(window_of_it->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_EQ(Setting("Opacity") + Setting("CatcherTopmost"), "91");
}

TEST_F(ALinkCatcher, IsMovedByItsBodyAndShowsItsMenuOnTheRightButton) {
    OpenOrClose();
    Catcher()->move(100, 100);
    Mouse(QEvent::MouseMove, {150, 150}, Qt::LeftButton);
    Mouse(QEvent::MouseButtonPress, {110, 120}, Qt::LeftButton);
    Mouse(QEvent::MouseMove, {115, 120}, Qt::LeftButton);
    EXPECT_EQ(Catcher()->pos(), QPoint(105, 100));
    Mouse(QEvent::MouseMove, {120, 125}, {20, 25}, Qt::LeftButton);
    EXPECT_EQ(Catcher()->pos(), QPoint(110, 105)) << "the place in a window that has not got there yet";
    Mouse(QEvent::MouseMove, {150, 150}, Qt::NoButton);
    Mouse(QEvent::MouseButtonRelease, {120, 125}, Qt::LeftButton);
    Mouse(QEvent::MouseMove, {150, 150}, Qt::LeftButton);
    EXPECT_EQ(Catcher()->pos(), QPoint(110, 105));

    Mouse(QEvent::MouseButtonPress, {120, 125}, Qt::RightButton);
    EXPECT_FALSE(Menu().isVisible());
    Mouse(QEvent::MouseButtonRelease, {120, 125}, Qt::RightButton);
    EXPECT_TRUE(Menu().isVisible());
    EXPECT_EQ(Menu().pos(), QPoint(120, 125));
    const QPointer<QMenu> menu = &Menu();
    OpenOrClose();
    EXPECT_FALSE(menu && menu->isVisible()) << "of a catcher that was closed";

    OpenOrClose();
    Key(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_TRUE(Menu().isVisible());
    Menu().close();
    QContextMenuEvent by_key(QContextMenuEvent::Keyboard, {1, 1}, Catcher()->mapToGlobal(QPoint(1, 1)));
    QApplication::sendEvent(Catcher(), &by_key);
    EXPECT_TRUE(Menu().isVisible());
}

}  // namespace
}  // namespace pellago::test
