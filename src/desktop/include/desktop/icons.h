#pragma once

#include <QIcon>
#include <cstdint>
#include <string>

// The program's own pictures, drawn from the SVG files that it carries. A picture is known by a 32-bit
// handle, which stays good as long as the process.
namespace pellago {

/// The handle of a picture, above 0; the same name always has the same one. Throws RunTimeError "There is no
/// icon named …" for a picture that the program does not carry.
std::int32_t LoadIcon(const std::string& name);

/// The picture in all usual sizes; null for a handle that LoadIcon never gave.
QIcon IconFromHandle(std::int32_t handle);

/// The picture for a tray: where the desktop's theme has the one-colour variant, a tray that draws icons by
/// their name takes that one, in the colour of its panel.
QIcon TrayIconFromHandle(std::int32_t handle);

}  // namespace pellago
