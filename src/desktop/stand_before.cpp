#include "stand_before.h"

#include <QApplication>
#include <QPointer>
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

void StandAlone(QWidget& window, Qt::WindowFlags flags) {
    window.overrideWindowFlags(flags);
    auto* handle = window.windowHandle();
    if (!handle) return;
    handle->setFlags(flags);
    handle->setTransientParent(nullptr);
}

void BringModalWindowBack(const QWidget& window) {
    const QPointer<QWidget> modal(QApplication::activeModalWidget());
    if (!modal || modal == &window) return;
    modal->setWindowState(modal->windowState() & ~Qt::WindowMinimized);
    // Its own handlers may have ended it.
    if (!modal || modal != QApplication::activeModalWidget()) return;
    modal->show();
    modal->raise();
}

}  // namespace pellago
