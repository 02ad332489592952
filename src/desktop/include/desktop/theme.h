#pragma once

#include <cstdint>

class QWidget;

// The colours of the desktop's theme.
namespace pellago {

inline constexpr std::uint32_t kWindowBackground = 0x80000005;
inline constexpr std::uint32_t kButtonFace = 0x8000000F;

/// Whether the desktop draws controls in a theme; false with the style of classic windows.
bool IsThemeActive();
/// Whether this program's windows are drawn in the theme.
bool IsAppThemed();

/// Fills a control's background with a system colour, in the shade that the theme gives
/// that colour, now and after each change of the theme.
void SetBackColor(QWidget& widget, std::uint32_t system_color);

}  // namespace pellago
