#include "desktop/icons.h"

#include <gmock/gmock.h>

#include <QImage>
#include <QPixmap>
#include <set>
#include <string>

#include "support/thrown.h"

namespace pellago {
namespace {

using test::ThrownBy;
using testing::SizeIs;

QImage Drawn(const std::string& name, int size, qreal ratio = 1) {
    return IconFromHandle(LoadIcon(name)).pixmap(QSize(size, size), ratio).toImage();
}

TEST(Icons, HaveOneHandleEachAndUnknownOnesNone) {
    std::set<std::int32_t> handles;
    for (const char* name : {"pellago", "pellago-catcher", "pellago-download-0", "pellago-download-1",
                             "pellago-download-2", "pellago-download-3", "pellago"})
        handles.insert(LoadIcon(name));
    EXPECT_THAT(handles, SizeIs(6));
    EXPECT_GT(*handles.begin(), 0);
    EXPECT_EQ(ThrownBy([] { LoadIcon("pellago-upload"); }).text, "There is no icon named \"pellago-upload\"");
    for (const std::int32_t nobodys : {0, -1, *handles.rbegin() + 1})
        EXPECT_TRUE(IconFromHandle(nobodys).isNull());
}

TEST(Icons, AreDrawnInFullAtEverySizeAlsoOnDenseScreens) {
    for (const int size : {16, 22, 24, 32, 48, 128}) {
        EXPECT_EQ(Drawn("pellago", size).size(), QSize(size, size));
        const auto dense = Drawn("pellago", size, 2);
        EXPECT_EQ(dense.size(), QSize(2 * size, 2 * size));
        // What is only enlarged has its pixels in fours.
        EXPECT_NE(dense, Drawn("pellago", size).scaled(dense.size())) << size;
    }
    for (const char* name : {"pellago", "pellago-catcher"})
        EXPECT_GT(Drawn(name, 16).pixelColor(8, 1).alpha(), 200) << name << " has a ground of its own";
}

TEST(Icons, TellTheFramesOfADownloadApartAtPanelSize) {
    constexpr int size = 16;
    for (int frame = 0; frame < 4; ++frame) {
        const auto one = Drawn("pellago-download-" + std::to_string(frame), size);
        const auto next = Drawn("pellago-download-" + std::to_string((frame + 1) % 4), size);
        int changed = 0;
        for (int at = 0; at < size * size; ++at)
            changed += std::abs(one.pixelColor(at % size, at / size).lightness() -
                                next.pixelColor(at % size, at / size).lightness()) > 60;
        EXPECT_GT(changed, 10) << frame;
    }
}

}  // namespace
}  // namespace pellago
