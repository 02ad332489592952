#pragma once

class QWidget;

namespace pellago {

/// Makes a window that is about to be shown stay before the one that is active now. That is not its parent:
/// a parent would take it along when it is destroyed.
void StandBeforeActiveWindow(QWidget& window);

/// Ends that.
void StandAlone(QWidget& window);

}  // namespace pellago
