#include "stand_before.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

namespace pellago {

void StandBeforeActiveWindow(QWidget& window) {
    const auto* active = QApplication::activeWindow();
    if (!active || active == &window) return;
    window.winId();  // makes the window's handle
    window.windowHandle()->setTransientParent(active->windowHandle());
}

void StandAlone(QWidget& window) {
    if (auto* handle = window.windowHandle()) handle->setTransientParent(nullptr);
}

}  // namespace pellago
