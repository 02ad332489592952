#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Where a window stands, as it is kept between two starts.
namespace pellago {

/// The classic show commands.
namespace show_command {
inline constexpr std::int32_t kHide = 0;
inline constexpr std::int32_t kShowNormal = 1;
inline constexpr std::int32_t kShowMinimized = 2;
inline constexpr std::int32_t kShowMaximized = 3;
inline constexpr std::int32_t kShowNoActivate = 4;
inline constexpr std::int32_t kShow = 5;
inline constexpr std::int32_t kMinimize = 6;
inline constexpr std::int32_t kShowMinNoActive = 7;
inline constexpr std::int32_t kShowNa = 8;
inline constexpr std::int32_t kRestore = 9;
inline constexpr std::int32_t kShowDefault = 10;
}  // namespace show_command

struct ScreenPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
    friend bool operator==(const ScreenPoint&, const ScreenPoint&) = default;
};

/// In pixels; right and bottom lie outside.
struct ScreenRectangle {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
    std::int64_t Width() const { return std::int64_t{right} - left; }
    std::int64_t Height() const { return std::int64_t{bottom} - top; }
    friend bool operator==(const ScreenRectangle&, const ScreenRectangle&) = default;
};

/// The show state, the minimised and maximised positions, and the rectangle that the window has or returns to
/// when it is neither.
struct WindowPlacement {
    std::int32_t show_command = show_command::kShowNormal;
    ScreenPoint minimized;
    ScreenPoint maximized;
    ScreenRectangle normal;
    friend bool operator==(const WindowPlacement&, const WindowPlacement&) = default;
};

enum class BorderStyle : std::int32_t {
    kNone = 0,
    kFixedSingle = 1,
    kSizable = 2,
    kFixedDialog = 3,
    kFixedToolWindow = 4,
    kSizableToolWindow = 5
};

enum class FormWindowState : std::int32_t { kNormal = 0, kMinimized = 1, kMaximized = 2 };

/// A form, as far as keeping its placement needs to know it.
class PlacedForm {
public:
    PlacedForm() = default;
    virtual ~PlacedForm() = default;
    PlacedForm(const PlacedForm&) = delete;
    PlacedForm& operator=(const PlacedForm&) = delete;

    virtual std::string Name() const = 0;
    virtual BorderStyle Border() const = 0;
    virtual bool Visible() const = 0;
    virtual void WindowState(FormWindowState state) = 0;

    /// Nothing when the placement cannot be told. A window that is not visible has one, too.
    virtual std::optional<WindowPlacement> Placement() const = 0;
    /// On a desktop that lets no program place its windows, only size and state take effect.
    virtual void Placement(const WindowPlacement& placement) = 0;
    /// The part of the screen in which forms are centred.
    virtual ScreenRectangle Desktop() const = 0;
};

}  // namespace pellago
