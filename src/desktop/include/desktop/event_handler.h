#pragma once

#include <functional>

class QAbstractButton;

namespace pellago {

/// Runs a handler of one of the desktop's events. An exception that left it would end the program: it is
/// shown in a message box instead, and the event counts as handled.
void RunHandler(const std::function<void()>& handler) noexcept;

/// Runs `handler` each time that the button is clicked.
void OnClick(QAbstractButton* button, std::function<void()> handler);

}  // namespace pellago
