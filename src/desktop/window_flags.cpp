#include "window_flags.h"

#include <QWidget>
#include <QWindow>

namespace pellago {

void ChangeWindowFlags(QWidget& window, Qt::WindowFlags flags) {
    window.overrideWindowFlags(flags);
    if (auto* handle = window.windowHandle()) handle->setFlags(flags);
}

}  // namespace pellago
