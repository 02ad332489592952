#pragma once

#include <cstdint>

class QWidget;

// The colours of the desktop's theme.
namespace pellago {

inline constexpr std::uint32_t kWindowBackground = 0x80000005;
inline constexpr std::uint32_t kButtonFace = 0x8000000F;

/// Whether the desktop draws controls in a theme of its own; not with the style of classic windows.
bool IsThemeActive();
/// Whether this program's windows take part in that.
bool IsAppThemed();

/// Fills a control's background with a system colour, in whatever shade the theme gives that, now and later.
void SetBackColor(QWidget& widget, std::uint32_t system_color);

}  // namespace pellago
