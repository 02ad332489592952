#pragma once

#include <Qt>

class QWidget;

namespace pellago {

/// Prepares a window for being shown modally: it stays before the window that is active now, and cannot be
/// minimised, which would leave a program that waits for it nowhere to be seen. The active window does not
/// become the parent: a parent that is destroyed takes its children along.
void MakeWindowModal(QWidget& window);

/// Lets a window that was shown modally stand alone again, with the flags that it had before.
void MakeWindowOrdinary(QWidget& window, Qt::WindowFlags flags);

/// Brings the modal window back that waits for an answer, if there is one besides `window`: window managers
/// hide it together with the one that it stands before.
void BringModalWindowBack(const QWidget& window);

}  // namespace pellago
