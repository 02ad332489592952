#pragma once

#include <Qt>

class QWidget;

namespace pellago {

/// Gives a window other flags while it stays as it is. Qt's own way hides a visible window, and makes it
/// anew; the window system can be told without that.
void ChangeWindowFlags(QWidget& window, Qt::WindowFlags flags);

}  // namespace pellago
