#include "desktop/notify_icon.h"

#include <QByteArrayView>
#include <QString>
#include <QStringDecoder>
#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "desktop_shell.h"

namespace pellago {
namespace {

constexpr std::size_t kOldTip = 64;

NotificationShell* replacement = nullptr;

std::function<void()>& Listener() {
    static std::function<void()> listener;
    return listener;
}

NotificationShell& Shell() { return replacement ? *replacement : DesktopShell::Instance(); }

// A character of which the field's end has cut a part is dropped.
QString Decoded(const char* text, qsizetype length) {
    QStringDecoder decode(QStringDecoder::Utf8);
    return decode(QByteArrayView(text, length));
}
QString Decoded(const char16_t* text, qsizetype length) {
    const bool cut = length > 0 && QChar::isHighSurrogate(text[length - 1]);
    return QString::fromUtf16(text, cut ? length - 1 : length);
}

template <class Char>
std::string Text(const Char* field, std::size_t size) {
    return Decoded(field, std::find(field, field + size, Char{}) - field).toStdString();
}

template <class Char>
std::optional<NotificationRecord> Decode(const NOTIFYICONDATA<Char>& data, std::uint32_t old_size) {
    const bool whole = data.cbSize == sizeof(data);
    if (!whole && data.cbSize != old_size) return std::nullopt;
    NotificationRecord record;
    record.hwnd = data.hWnd;
    record.id = data.uID;
    record.flags = data.uFlags;
    record.callback_message = data.uCallbackMessage;
    record.icon = data.hIcon;
    record.tip = Text(data.szTip, whole ? std::size(data.szTip) : kOldTip);
    if (!whole) {
        record.flags &= NIF_MESSAGE | NIF_ICON | NIF_TIP;
        return record;
    }
    record.state = data.dwState;
    record.state_mask = data.dwStateMask;
    record.info = Text(data.szInfo, std::size(data.szInfo));
    record.timeout_or_version = data.uTimeout;
    record.info_title = Text(data.szInfoTitle, std::size(data.szInfoTitle));
    record.info_flags = data.dwInfoFlags;
    return record;
}

bool Notify(std::uint32_t message, const std::optional<NotificationRecord>& record) {
    return record && Shell().Notify(message, *record);
}

}  // namespace

bool Shell_NotifyIconW(std::uint32_t message, const NOTIFYICONDATAW& data) {
    return Notify(message, Decode(data, kOldNotifyIconSizeW));
}

bool Shell_NotifyIconA(std::uint32_t message, const NOTIFYICONDATAA& data) {
    return Notify(message, Decode(data, kOldNotifyIconSizeA));
}

bool SetNotifyIconMenu(std::int32_t hwnd, std::int32_t id, QMenu* menu) {
    return Shell().SetMenu(hwnd, id, menu);
}

bool NotificationAreaAvailable() { return Shell().AreaAvailable(); }

void OnNotificationAreaChange(std::function<void()> listener) { Listener() = std::move(listener); }

void NotificationAreaChanged() {
    // A copy: the listener may set another listener.
    if (const auto listener = Listener()) listener();
}

void UseNotificationShell(NotificationShell* shell) { replacement = shell; }

}  // namespace pellago
