#include "desktop/event_handler.h"

#include <QAbstractButton>
#include <QApplication>
#include <exception>
#include <utility>

#include "platform/system/message_box.h"

namespace pellago {

void RunHandler(const std::function<void()>& handler) noexcept {
    try {
        handler();
    } catch (const std::exception& failure) {
        ShowMessageBox({failure.what(), QApplication::applicationName().toStdString(), MessageBoxButtons::kOk,
                        MessageBoxIcon::kCritical});
    }
}

void OnClick(QAbstractButton* button, std::function<void()> handler) {
    QObject::connect(button, &QAbstractButton::clicked, button,
                     [call = std::move(handler)]() noexcept { RunHandler(call); });
}

}  // namespace pellago
