#include <gmock/gmock.h>

#include <QTest>

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

}  // namespace
}  // namespace pellago
