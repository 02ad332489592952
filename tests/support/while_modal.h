#pragma once

#include <QApplication>
#include <QWidget>
#include <functional>

#include "platform/loop/thread_timer.h"

namespace pellago::test {

/// Calls `show`, which shows a modal window and returns when that is gone, and `act` once as soon as the
/// window is up.
inline void WhileModal(const std::function<void(QWidget& modal)>& act, const std::function<void()>& show) {
    const auto* before = QApplication::activeModalWidget();
    std::int32_t timer = 0;
    timer = SetTimer(5, [&](std::uint32_t) {
        auto* modal = QApplication::activeModalWidget();
        if (!modal || modal == before || !modal->isVisible()) return;
        KillTimer(timer);
        act(*modal);
    });
    show();
    KillTimer(timer);
}

}  // namespace pellago::test
