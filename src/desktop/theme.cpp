#include "desktop/theme.h"

#include <QApplication>
#include <QPalette>
#include <QStyle>
#include <QWidget>

namespace pellago {

bool IsThemeActive() {
    return QApplication::style()->name().compare(QLatin1String("windows"), Qt::CaseInsensitive) != 0;
}

// Every window of a program here is drawn by the one style of its application.
bool IsAppThemed() { return IsThemeActive(); }

void SetBackColor(QWidget& widget, std::uint32_t system_color) {
    widget.setBackgroundRole(system_color == kWindowBackground ? QPalette::Base : QPalette::Button);
    widget.setAutoFillBackground(true);
}

}  // namespace pellago
