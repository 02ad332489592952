#include <gmock/gmock.h>
#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QTest>
#include <QTimer>
#include <QWindow>
#include <cstdlib>
#include <string>

#include "desktop/form.h"

namespace pellago {
namespace {

using enum FormWindowState;

std::int32_t CommandOf(FormWindowState state) {
    if (state == kMinimized) return show_command::kShowMinimized;
    return state == kMaximized ? show_command::kShowMaximized : show_command::kShowNormal;
}

// A window manager puts a frame around a window when that is first shown, and tells of what it did to it
// later.
TEST(AFormOnADesktop, StandsWhereItStoodHoweverItWasLeft) {
    WindowPlacement kept;
    kept.normal = {123, 87, 456, 309};
    const auto stood = kept.normal;
    for (const auto left : {kNormal, kMaximized, kMaximized, kNormal, kMinimized, kMinimized, kNormal}) {
        Form form("frmPlaced", BorderStyle::kSizable);
        form.Placement(kept);
        const auto state = kept.show_command == show_command::kShowMaximized   ? kMaximized
                           : kept.show_command == show_command::kShowMinimized ? kMinimized
                                                                               : kNormal;
        form.WindowState(state);
        form.Show();
        ASSERT_TRUE(QTest::qWaitFor(
            [&] { return form.frameGeometry() != form.geometry() && form.WindowState() == state; }));
        if (left != state) form.WindowState(left);
        QTest::qWait(300);
        kept = *form.Placement();
        EXPECT_EQ(kept.show_command, CommandOf(left));
        EXPECT_EQ(kept.normal.left, stood.left);
        EXPECT_EQ(kept.normal.top, stood.top);
        EXPECT_EQ(kept.normal.right, stood.right);
        EXPECT_EQ(kept.normal.bottom, stood.bottom);
    }
}

/// One that lives in a tray.
class HidingForm final : public Form {
public:
    HidingForm() : Form("frmHiding", BorderStyle::kSizable) { resize(300, 200); }

private:
    void Form_Resize() override {
        if (WindowState() == kMinimized) Hide();
    }
};

/// Asks the window manager to minimise a window, as its title bar does.
void MinimizeFromOutside(const QWidget& window) {
    auto* connection = qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
    const std::string name = "WM_CHANGE_STATE";
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    auto* atom = xcb_intern_atom_reply(connection, cookie, nullptr);
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = static_cast<xcb_window_t>(window.winId());
    event.type = atom->atom;
    event.data.data32[0] = 3;  // iconic
    std::free(atom);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(connection);
}

// A window manager hides a dialog together with the window that it stands before.
TEST(AFormOnADesktop, BringsTheDialogBackThatWaitsForAnAnswer) {
    HidingForm form;
    form.Show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&form));
    Form dialog("frmDialog", BorderStyle::kSizable);
    bool was_hidden = false;
    bool is_back = false;
    QTimer::singleShot(300, [&] {
        EXPECT_FALSE(dialog.windowFlags() & Qt::WindowMinimizeButtonHint);
        // That of a dialog that was there all the time is left as it is.
        dialog.WindowState(kMaximized);
        form.WindowState(kNormal);
        EXPECT_EQ(dialog.WindowState(), kMaximized);
        MinimizeFromOutside(form);
        was_hidden =
            QTest::qWaitFor([&] { return !form.isVisible() && !dialog.windowHandle()->isExposed(); });
        form.WindowState(kNormal);
        form.Show();
        is_back = QTest::qWaitFor([&] { return form.isVisible() && dialog.windowHandle()->isExposed(); });
        dialog.Hide();
    });
    dialog.Show(ShowMode::kModal);
    EXPECT_TRUE(was_hidden);
    EXPECT_TRUE(is_back);
}

}  // namespace
}  // namespace pellago
