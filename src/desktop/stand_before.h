#pragma once

#include <Qt>

class QWidget;

namespace pellago {

/// Prepares a window for being shown modally: it stays before the one that is active now, and cannot be
/// minimised, which would leave a program that waits for it nowhere to be seen. The active one does not
/// become its parent: a parent would take it along when it is destroyed.
void StandBeforeActiveWindow(QWidget& window);

/// Ends that, and gives the window the flags that it had.
void StandAlone(QWidget& window, Qt::WindowFlags flags);

/// Brings the modal window back that waits for an answer, if there is one besides `window`: window managers
/// hide it together with the one that it stands before.
void BringModalWindowBack(const QWidget& window);

}  // namespace pellago
