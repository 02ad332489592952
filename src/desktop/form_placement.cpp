#include <QGuiApplication>
#include <QPointer>
#include <QScreen>
#include <algorithm>

#include "desktop/form.h"

namespace pellago {
namespace {

/// The part of a window's upper edge, in pixels, that a person needs to grip and move the window.
constexpr int kHandleWidth = 64;
constexpr int kHandleHeight = 24;

bool CanBeReached(const QRect& frame) {
    const QRect handle(frame.topLeft(), QSize(frame.width(), kHandleHeight));
    const auto screens = QGuiApplication::screens();
    return std::any_of(screens.begin(), screens.end(), [&](const QScreen* screen) {
        const auto seen = handle & screen->availableGeometry();
        return seen.width() >= std::min(kHandleWidth, frame.width()) && seen.height() >= kHandleHeight / 2;
    });
}

/// Moves a frame onto a screen: it may have been kept for a screen that is gone, or written by hand.
QRect WithinReach(const QRect& frame) {
    const auto* known = QGuiApplication::screenAt(frame.center());
    const auto* screen = known ? known : QGuiApplication::primaryScreen();
    const auto area = screen->availableGeometry();
    QRect moved(frame.topLeft(), frame.size().boundedTo(area.size()));
    if (CanBeReached(moved)) return moved;
    moved.moveLeft(std::clamp(moved.left(), area.left(), area.right() + 1 - moved.width()));
    moved.moveTop(std::clamp(moved.top(), area.top(), area.bottom() + 1 - moved.height()));
    return moved;
}

FormWindowState StateOf(std::int32_t command) {
    switch (command) {
        case show_command::kShowMinimized:
        case show_command::kMinimize:
        case show_command::kShowMinNoActive:
            return FormWindowState::kMinimized;
        case show_command::kShowMaximized:
            return FormWindowState::kMaximized;
        default:
            return FormWindowState::kNormal;
    }
}

/// Window systems count pixels in 16 bits; what lies beyond is nobody's intention.
int Within16Bits(std::int64_t number) {
    return static_cast<int>(std::clamp<std::int64_t>(number, -32768, 32767));
}

}  // namespace

// The rectangle begins at the frame's corner and has the size of what is inside the frame: both can be given
// back exactly, while the frame's width is not known before a window was shown.
std::optional<WindowPlacement> Form::Placement() const {
    WindowPlacement placement;
    if (WindowState() == FormWindowState::kMinimized)
        placement.show_command = show_command::kShowMinimized;
    else if (WindowState() == FormWindowState::kMaximized)
        placement.show_command = show_command::kShowMaximized;
    placement.minimized = placement.maximized = {-1, -1};
    const auto normal =
        WindowState() == FormWindowState::kNormal || normal_.isNull() ? NormalRectangle() : normal_;
    placement.normal = {normal.left(), normal.top(), normal.left() + normal.width(),
                        normal.top() + normal.height()};
    return placement;
}

void Form::Placement(const WindowPlacement& placement) {
    const auto& normal = placement.normal;
    const QSize stored(Within16Bits(normal.Width()), Within16Bits(normal.Height()));
    const auto size = stored.isEmpty() ? SizeNow() : stored;
    const QPoint corner(Within16Bits(normal.left), Within16Bits(normal.top));
    const auto frame = WithinReach({corner, size.expandedTo(minimumSizeHint())});
    // A rectangle given to a maximised window would be taken for the maximised one.
    const auto state = isVisible() ? StateOf(placement.show_command) : WindowState();
    const QPointer<Form> alive(this);
    ApplyWindowState(FormWindowState::kNormal);
    if (alive) resize(frame.size());
    if (!alive) return;
    move(frame.topLeft());
    normal_ = frame;
    WindowState(state);
    if (alive && placement.show_command == show_command::kHide) hide();
}

ScreenRectangle Form::Desktop() const {
    const auto area = QGuiApplication::primaryScreen()->geometry();
    return {area.left(), area.top(), area.left() + area.width(), area.top() + area.height()};
}

/// A window that was never shown gets its size from its contents when it comes up.
QSize Form::SizeNow() const { return testAttribute(Qt::WA_Resized) || isVisible() ? size() : sizeHint(); }

// On Wayland a program can neither place its windows nor learn where they stand: the corner that was asked
// for is kept for a session under X.
QRect Form::NormalRectangle() const {
    const bool is_placed_by_others = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
    return {is_placed_by_others ? normal_.topLeft() : pos(), SizeNow()};
}

void Form::RememberNormalRectangle() {
    if (isVisible() && WindowState() == FormWindowState::kNormal) normal_ = NormalRectangle();
}

}  // namespace pellago
