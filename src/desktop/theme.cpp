#include "desktop/theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QWidget>

namespace pellago {

bool IsThemeActive() {
    return QApplication::style()->name().compare(QLatin1String("windows"), Qt::CaseInsensitive) != 0;
}

// Here all windows of a program are drawn by the style of its application: none keeps out of the theme.
bool IsAppThemed() { return IsThemeActive(); }

void SetBackColor(QWidget& widget, std::uint32_t system_color) {
    widget.setBackgroundRole(system_color == kWindowBackground ? QPalette::Base : QPalette::Button);
    widget.setAutoFillBackground(true);
}

}  // namespace pellago
