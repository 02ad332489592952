#pragma once

#include <cstdint>

class QColor;
class QWidget;

namespace pellago {

/// Puts a window above all others for good, or back among them; its place, size and visibility stay.
void SetTopmost(QWidget& window, bool topmost);

inline constexpr std::uint32_t LWA_COLORKEY = 1;
inline constexpr std::uint32_t LWA_ALPHA = 2;

/// With LWA_COLORKEY the pixels of the window's image that have exactly the colour `key` are not there: not
/// seen, and clicked through. With LWA_ALPHA the rest is drawn with `alpha`, 0 to 255; where the desktop
/// knows no opacity it stays opaque.
void SetLayeredWindowAttributes(QWidget& window, const QColor& key, std::uint8_t alpha, std::uint32_t flags);

}  // namespace pellago
