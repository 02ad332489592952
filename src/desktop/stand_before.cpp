#include "stand_before.h"

#include <QApplication>
#include <QWidget>
#include <QWindow>

namespace pellago {

void StandBeforeActiveWindow(QWidget& window) {
    // Only dialogs are kept before others.
    const auto type = window.windowType() == Qt::Window ? Qt::Dialog : window.windowType();
    const auto hints = window.windowFlags() & ~(Qt::WindowType_Mask | Qt::WindowMinimizeButtonHint);
    const auto flags = type | hints | Qt::CustomizeWindowHint;
    window.overrideWindowFlags(flags);
    if (auto* handle = window.windowHandle()) handle->setFlags(flags);
    const auto* active = QApplication::activeWindow();
    if (!active || active == &window) return;
    window.winId();  // makes the window's handle
    window.windowHandle()->setTransientParent(active->windowHandle());
}

void StandAlone(QWidget& window) {
    if (auto* handle = window.windowHandle()) handle->setTransientParent(nullptr);
}

void BringModalWindowBack(const QWidget& window) {
    auto* modal = QApplication::activeModalWidget();
    if (!modal || modal == &window) return;
    modal->showNormal();
    modal->raise();
}

}  // namespace pellago
