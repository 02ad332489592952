#pragma once

#include <cstdint>
#include <functional>
#include <string>

class QMenu;

// The notification area: icons with a tool tip, a menu and balloons, by the interface of a classic shell.
namespace pellago {

/// What Shell_NotifyIcon is to do.
inline constexpr std::uint32_t NIM_ADD = 0;
inline constexpr std::uint32_t NIM_MODIFY = 1;
inline constexpr std::uint32_t NIM_DELETE = 2;
inline constexpr std::uint32_t NIM_SETVERSION = 4;

/// Flags for the fields of a record that are filled in.
inline constexpr std::uint32_t NIF_MESSAGE = 0x01;
inline constexpr std::uint32_t NIF_ICON = 0x02;
inline constexpr std::uint32_t NIF_TIP = 0x04;
inline constexpr std::uint32_t NIF_STATE = 0x08;
inline constexpr std::uint32_t NIF_INFO = 0x10;

inline constexpr std::uint32_t NIS_HIDDEN = 1;

/// The kinds of a balloon.
inline constexpr std::uint32_t NIIF_NONE = 0;
inline constexpr std::uint32_t NIIF_INFO = 1;
inline constexpr std::uint32_t NIIF_WARNING = 2;
inline constexpr std::uint32_t NIIF_ERROR = 3;

/// What an icon tells its window, in lParam of the message it was given; wParam is the icon's id.
inline constexpr std::int32_t WM_MOUSEMOVE = 0x200;
inline constexpr std::int32_t WM_LBUTTONDOWN = 0x201;
inline constexpr std::int32_t WM_LBUTTONUP = 0x202;
inline constexpr std::int32_t WM_LBUTTONDBLCLK = 0x203;
inline constexpr std::int32_t WM_RBUTTONDOWN = 0x204;
inline constexpr std::int32_t WM_RBUTTONUP = 0x205;
inline constexpr std::int32_t WM_RBUTTONDBLCLK = 0x206;
inline constexpr std::int32_t NIN_BALLOONSHOW = 0x402;
inline constexpr std::int32_t NIN_BALLOONHIDE = 0x403;
/// The time is over, or the user dismissed the balloon.
inline constexpr std::int32_t NIN_BALLOONTIMEOUT = 0x404;
inline constexpr std::int32_t NIN_BALLOONUSERCLICK = 0x405;

/// The record as the classic shell publishes it. Texts end at their NUL or with the field; 8-bit ones are
/// UTF-8, wide ones UTF-16.
template <class Char>
struct NOTIFYICONDATA {
    std::uint32_t cbSize;  ///< bytes that are filled in: the whole record, or up to 64 characters of tip
    std::int32_t hWnd;
    std::int32_t uID;
    std::uint32_t uFlags;
    std::int32_t uCallbackMessage;
    std::int32_t hIcon;
    Char szTip[128];
    std::uint32_t dwState;
    std::uint32_t dwStateMask;
    Char szInfo[256];
    union {
        std::uint32_t uTimeout;  ///< of a balloon, in milliseconds
        std::uint32_t uVersion;
    };
    Char szInfoTitle[64];
    std::uint32_t dwInfoFlags;
};
using NOTIFYICONDATAW = NOTIFYICONDATA<char16_t>;
using NOTIFYICONDATAA = NOTIFYICONDATA<char>;
static_assert(sizeof(NOTIFYICONDATAW) == 936 && sizeof(NOTIFYICONDATAA) == 488);

/// Sizes of the record before it could carry balloons.
inline constexpr std::uint32_t kOldNotifyIconSizeW = 152;
inline constexpr std::uint32_t kOldNotifyIconSizeA = 88;

/// A record of either form as a shell gets it: texts in UTF-8; `flags` names only fields that were sent.
struct NotificationRecord {
    std::int32_t hwnd = 0;
    std::int32_t id = 0;
    std::uint32_t flags = 0;
    std::int32_t callback_message = 0;
    std::int32_t icon = 0;
    std::string tip;
    std::uint32_t state = 0;
    std::uint32_t state_mask = 0;
    std::string info;
    std::uint32_t timeout_or_version = 0;
    std::string info_title;
    std::uint32_t info_flags = 0;
};

/// Shows the icons of the notification area.
class NotificationShell {
public:
    virtual ~NotificationShell() = default;
    /// The answer is that of Shell_NotifyIcon.
    virtual bool Notify(std::uint32_t message, const NotificationRecord& record) = 0;
    virtual bool SetMenu(std::int32_t hwnd, std::int32_t id, QMenu* menu) = 0;
    virtual bool AreaAvailable() = 0;
};

/// Adds, changes or removes the icon that `hWnd` and `uID` name. False, and nothing done, when it is there
/// already, is not there, the size is no size of the record, or the version is above 3. What the icon tells
/// comes to its window from the message loop, never from inside the call.
bool Shell_NotifyIconW(std::uint32_t message, const NOTIFYICONDATAW& data);
bool Shell_NotifyIconA(std::uint32_t message, const NOTIFYICONDATAA& data);

/// The menu that the desktop opens by itself when the icon is clicked with the right button; null for none.
/// It stays the caller's, who may delete it at any time. False for an icon that is not there.
bool SetNotifyIconMenu(std::int32_t hwnd, std::int32_t id, QMenu* menu);

/// Whether icons are to be seen now: some panel shows them. Known soon after the first question or icon.
bool NotificationAreaAvailable();

/// Called from the message loop when the answer of NotificationAreaAvailable has changed; null ends that.
void OnNotificationAreaChange(std::function<void()> listener);
/// For shells: tells the listener.
void NotificationAreaChanged();

/// Puts another shell in the place of the desktop's; null brings that back. Icons stay with the shell that
/// got them.
void UseNotificationShell(NotificationShell* shell);

}  // namespace pellago
