#include "modal_window.h"

#include <QApplication>
#include <QPointer>
#include <QWidget>
#include <QWindow>

#include "window_flags.h"

namespace pellago {

void MakeWindowModal(QWidget& window) {
    // Window managers keep only dialogs before other windows.
    const auto type = window.windowType() == Qt::Window ? Qt::Dialog : window.windowType();
    const auto hints = window.windowFlags() & ~(Qt::WindowType_Mask | Qt::WindowMinimizeButtonHint);
    ChangeWindowFlags(window, type | hints | Qt::CustomizeWindowHint);
    const auto* active = QApplication::activeWindow();
    if (!active || active == &window) return;
    window.winId();  // makes the window's handle
    window.windowHandle()->setTransientParent(active->windowHandle());
}

void MakeWindowOrdinary(QWidget& window, Qt::WindowFlags flags) {
    ChangeWindowFlags(window, flags);
    if (auto* handle = window.windowHandle()) handle->setTransientParent(nullptr);
}

void BringModalWindowBack(const QWidget& window) {
    const QPointer<QWidget> modal(QApplication::activeModalWidget());
    if (!modal || modal == &window) return;
    modal->setWindowState(modal->windowState() & ~Qt::WindowMinimized);
    // The change of state runs the modal window's own handlers, which may have ended it.
    if (!modal || modal != QApplication::activeModalWidget()) return;
    modal->show();
    modal->raise();
}

}  // namespace pellago
