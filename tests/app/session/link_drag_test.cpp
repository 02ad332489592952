#include <gmock/gmock.h>

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>
#include <QDrag>
#include <QMimeData>
#include <QWidget>
#include <functional>
#include <optional>

#include "support/program_fixture.h"
#include "support/stand_in_desktop.h"
#include "x_windows.h"

// Links from another program's window onto the real program's catcher, by the real pointer.
namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A window from which something can be dragged wherever it is pressed.
class DragSource final : public QWidget, private QAbstractNativeEventFilter {
public:
    DragSource() {
        setWindowTitle("source");
        setGeometry(60, 60, 120, 80);
        QCoreApplication::instance()->installNativeEventFilter(this);
        show();
    }

    /// What is dragged next, pairs of format and data; `way` is called in the middle of that.
    void Offer(std::vector<std::pair<const char*, std::string>> formats, std::function<void()> way) {
        formats_ = std::move(formats);
        way_ = std::move(way);
        result_.reset();
        answering_ = 0;
    }
    /// The window that the last answer to what is being dragged came from; 0 where none came yet.
    xcb_window_t Answering() const { return answering_; }
    /// How the drag ended.
    std::optional<Qt::DropAction> Result() const { return result_; }

private:
    void mousePressEvent(QMouseEvent* /*event*/) override {
        auto* drag = new QDrag(this);   // owned by the window
        auto* dragged = new QMimeData;  // owned by the drag
        for (const auto& [format, bytes] : formats_)
            dragged->setData(format, QByteArray::fromStdString(bytes));
        drag->setMimeData(dragged);
        CallLater(way_);
        result_ = drag->exec(Qt::CopyAction | Qt::LinkAction);
    }
    bool nativeEventFilter(const QByteArray& /*type*/, void* message, qintptr* /*result*/) override {
        const auto* event = static_cast<xcb_client_message_event_t*>(message);
        if ((event->response_type & 0x7F) == XCB_CLIENT_MESSAGE && event->type == answer_)
            answering_ = event->data.data32[0];
        return false;
    }

    xcb_atom_t answer_ = XServer().Atom("XdndStatus");
    std::vector<std::pair<const char*, std::string>> formats_;
    xcb_window_t answering_ = 0;
    std::function<void()> way_;
    std::optional<Qt::DropAction> result_;
};

class AnOpenCatcher : public AProgram {
protected:
    AnOpenCatcher() {
        Window();
        EXPECT_TRUE(WaitUntil([&] { return tray.Items().size() == 1; }, 10s));
        tray.ChooseFromMenu("RSS Link Catcher");
        EXPECT_TRUE(WaitUntil([&] { return IsSeen("RSS Link Catcher") && IsSeen("source"); }, 10s));
    }

    std::optional<XWindow> Find(const char* title) const {
        for (auto& window : screen.Windows())
            if (window.title == title && window.is_viewable) return window;
        return std::nullopt;
    }
    bool IsSeen(const char* title) const { return Find(title).has_value(); }
    ScreenPlace CatcherPlace() const { return screen.CenterOf(Find("RSS Link Catcher").value()); }

    /// By small steps, as a hand does it.
    void MovePointer(ScreenPlace from, ScreenPlace to) const {
        constexpr int kSteps = 12;
        const auto between = [](int begin, int end, int step) {
            return static_cast<std::int16_t>(begin + (end - begin) * step / kSteps);
        };
        for (int step = 0; step <= kSteps; ++step) {
            screen.MovePointer({between(from.x, to.x, step), between(from.y, to.y, step)});
            PumpFor(10ms);
        }
    }
    /// Drags onto the catcher what is offered in these formats; how that ended.
    std::optional<Qt::DropAction> Drag(std::vector<std::pair<const char*, std::string>> formats) {
        const auto catcher = Find("RSS Link Catcher").value();
        const auto from = screen.CenterOf(Find("source").value());
        source.Offer(std::move(formats), [this, catcher, from] {
            MovePointer(from, screen.CenterOf(catcher));
            EXPECT_TRUE(WaitUntil([&] { return source.Answering() == catcher.id; }, 10s));
            screen.ReleaseButton();
        });
        screen.MovePointer(from);
        screen.PressButton();
        WaitUntil([&] { return source.Result().has_value(); }, 20s);
        return source.Result();
    }

    StandInTray tray;
    StandInNotifications notifications{{"actions", "body"}};
    Child program{Start({"/background"})};
    XServer screen;
    DragSource source;
};

TEST_F(AnOpenCatcher, TakesALinkWhoseNewsTheNextRunBrings) {
    server.Answer("/feed", {.body = Feed(Item("news of the dropped", "l/1"))});
    const auto url = server.Url("/feed");
    EXPECT_EQ(Drag({{"text/plain", server.Url("/text")}}), Qt::IgnoreAction);

    EXPECT_EQ(Drag({{"text/uri-list", url + "\r\n"}, {"text/plain", url}}), Qt::CopyAction);
    EXPECT_TRUE(WaitUntil([&] { return !Column("SELECT ID FROM Channels").empty(); }, 15s));
    EXPECT_THAT(Column("SELECT p.Provider || ' ' || c.Channel || ' ' || c.httpRSSFile AS Row "
                       "FROM Channels c JOIN Providers p ON p.ID = c.Provider"),
                ElementsAre("127.0.0.1 " + url + " " + url));

    EXPECT_EQ(StatusOfStart({"--update"}), 0);
    EXPECT_TRUE(WaitUntil([&] { return !Titles().empty(); }));
    EXPECT_THAT(Titles(), ElementsAre("news of the dropped"));
}

TEST_F(AnOpenCatcher, GoesWhereItsBodyIsDragged) {
    const auto before = CatcherPlace();
    const ScreenPlace after{static_cast<std::int16_t>(before.x - 240),
                            static_cast<std::int16_t>(before.y - 180)};
    screen.MovePointer(before);
    screen.PressButton();
    MovePointer(before, after);
    screen.ReleaseButton();
    EXPECT_TRUE(WaitUntil([&] { return CatcherPlace() == after; }, 10s));
    PumpFor(100ms);
    EXPECT_EQ(CatcherPlace(), after);
}

}  // namespace
}  // namespace pellago::test
