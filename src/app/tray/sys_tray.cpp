#include "app/tray/sys_tray.h"

#include <QMenu>
#include <algorithm>
#include <type_traits>

#include "desktop/icons.h"
#include "infra/guarded_routine.h"
#include "platform/files/program.h"
#include "platform/system/system_version.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::int32_t kTrayMessage = WM_MOUSEMOVE;
constexpr std::uint32_t kShellVersion = 3;
constexpr std::size_t kTipSize = 128;
constexpr std::size_t kOldTipSize = 64;

std::uint32_t nfStructureSize(const NOTIFYICONDATAW& record, bool shell_v5) {
    return shell_v5 ? sizeof(record) : kOldNotifyIconSizeW;
}
std::uint32_t nfStructureSize(const NOTIFYICONDATAA& record, bool shell_v5) {
    return shell_v5 ? sizeof(record) : kOldNotifyIconSizeA;
}

template <class Char>
constexpr std::size_t unicodeSize(std::size_t characters) {
    return characters * sizeof(Char);
}

/// As many whole characters as `count` units hold.
template <class Char>
std::basic_string<Char> Cut(const std::string& text, std::size_t count) {
    auto valid = ValidUtf8(text);
    if constexpr (std::is_same_v<Char, char16_t>) {
        return QString::fromStdString(Left(valid, count)).toStdU16String();
    } else {
        const auto within_sequence = [&](std::size_t at) { return (valid[at] & 0xC0) == 0x80; };
        auto end = std::min(count, valid.size());
        while (end < valid.size() && within_sequence(end)) --end;
        valid.resize(end);
        return valid;
    }
}

template <class Char>
void Put(const std::basic_string<Char>& units, Char* field, std::size_t size) {
    std::fill(std::copy(units.begin(), units.end(), field), field + size, Char{});
}

/// The field ends with a NUL. An empty text leaves it as it was.
template <class Char>
void stringToArray(const std::string& text, Char* field, std::size_t size_in_bytes) {
    const auto size = size_in_bytes / sizeof(Char);
    if (!text.empty()) Put(Cut<Char>(text, size - 1), field, size);
}

void Tell(frmSysTrayEvents& events, std::int32_t code) {
    constexpr std::int32_t kLeft = 1;
    constexpr std::int32_t kRight = 2;
    switch (code) {
        case WM_MOUSEMOVE:
            return events.SysTrayMouseMove();
        case WM_LBUTTONDOWN:
            return events.SysTrayMouseDown(kLeft);
        case WM_LBUTTONUP:
            return events.SysTrayMouseUp(kLeft);
        case WM_LBUTTONDBLCLK:
            return events.SysTrayDoubleClick(kLeft);
        case WM_RBUTTONDOWN:
            return events.SysTrayMouseDown(kRight);
        case WM_RBUTTONUP:
            return events.SysTrayMouseUp(kRight);
        case WM_RBUTTONDBLCLK:
            return events.SysTrayDoubleClick(kRight);
        case NIN_BALLOONSHOW:
            return events.BalloonShow();
        case NIN_BALLOONHIDE:
            return events.BalloonHide();
        case NIN_BALLOONTIMEOUT:
            return events.BalloonTimeOut();
        case NIN_BALLOONUSERCLICK:
            return events.BalloonClicked();
        default:
            return;
    }
}

}  // namespace

frmSysTray::frmSysTray(frmSysTrayEvents& events)
    : Form("frmSysTray", BorderStyle::kNone), events_(events), menu_(new QMenu(this)) {
    setWindowTitle(QStringLiteral("Sys Tray Interface"));
    menu_->setObjectName(QStringLiteral("mnuPopup"));
    menu_->setTitle(QStringLiteral("&Popup"));
    AddItem();
    menu_->setDefaultAction(Item(0));
}

// No icon may stay behind a form that was never unloaded.
frmSysTray::~frmSysTray() {
    if (IsLoaded()) Try([&] { Notify(NIM_DELETE); });
}

void frmSysTray::Form_Load() {
    Guarded("Corvane.frmSysTray.Form_Load", [&](Statements& run) {
        run([&] { GetWindowsVersion(); });
        run([&] { FillRecord(); });
        run([&] { Notify(NIM_ADD); });
        // In the same turn of the loop as NIM_ADD: a host looks for the menu when it first sees the icon.
        run([&] {
            std::visit([&](const auto& record) { SetNotifyIconMenu(record.hWnd, record.uID, menu_); },
                       record_);
        });
        if (shell_v5_) run([&] { Notify(NIM_SETVERSION); });
    });
}

void frmSysTray::GetWindowsVersion() {
    const auto system = GetVersionEx(kBasicVersionRecord).value_or(SystemVersion{});
    const bool use_unicode = system.platform_id == VER_PLATFORM_WIN32_NT;
    shell_v5_ = use_unicode ? system.major >= 5 : system.major == 4 && system.minor == 90;
    if (use_unicode)
        record_ = NOTIFYICONDATAW{};
    else
        record_ = NOTIFYICONDATAA{};
}

void frmSysTray::FillRecord() {
    const auto fill = [&](auto& record) {
        record.cbSize = nfStructureSize(record, shell_v5_);
        record.hWnd = hWnd();
        record.hIcon = LoadIcon("pellago");
        record.uID = record.hIcon;
        record.uFlags = NIF_MESSAGE | NIF_ICON | NIF_TIP;
        record.uCallbackMessage = kTrayMessage;
        if (shell_v5_) record.uVersion = kShellVersion;
    };
    std::visit(fill, record_);
    FillTip(ProgramDescription());
}

void frmSysTray::FillTip(const std::string& text) {
    if (auto* wide = std::get_if<NOTIFYICONDATAW>(&record_))
        return stringToArray(text, wide->szTip, unicodeSize<char16_t>(shell_v5_ ? kTipSize : kOldTipSize));
    // The 8-bit field may be full, without a NUL.
    if (!text.empty()) Put(Cut<char>(text, kTipSize), std::get<NOTIFYICONDATAA>(record_).szTip, kTipSize);
}

// A refused call leaves the tray as it was, and is not reported.
void frmSysTray::Notify(std::uint32_t message) const {
    if (const auto* wide = std::get_if<NOTIFYICONDATAW>(&record_))
        Shell_NotifyIconW(message, *wide);
    else
        Shell_NotifyIconA(message, std::get<NOTIFYICONDATAA>(record_));
}

void frmSysTray::Form_QueryUnload(bool& /*cancel*/, UnloadMode /*mode*/) {
    Guarded("Corvane.frmSysTray.Form_QueryUnload",
            [&](Statements& run) { run([&] { Notify(NIM_DELETE); }); });
}

void frmSysTray::Form_Unload() { menu_->close(); }

std::int32_t frmSysTray::WindowProcedure(std::int32_t /*hwnd*/, std::int32_t message,
                                         std::int32_t /*w_param*/, std::int32_t l_param) {
    if (message == kTrayMessage) Form_MouseMove(l_param);
    return 0;
}

void frmSysTray::Form_MouseMove(std::int32_t code) {
    // The form may be destroyed from inside the event.
    auto& events = events_;
    Guarded("Corvane.frmSysTray.Form_MouseMove",
            [&events, code](Statements& run) { run([&] { Tell(events, code); }); });
}

void frmSysTray::ShowBalloonTip(const std::string& text, const std::string& title, std::uint32_t icon_kind,
                                std::uint32_t timeout_ms) {
    const auto show = [&](auto& record, Statements& run) {
        // stringToArray leaves a field as it is when its text is empty: the last balloon's text would come
        // again.
        run([&] { record.szInfo[0] = record.szInfoTitle[0] = {}; });
        run([&] { stringToArray(text, record.szInfo, sizeof(record.szInfo)); });
        run([&] { stringToArray(title, record.szInfoTitle, sizeof(record.szInfoTitle)); });
        run([&] { record.uTimeout = timeout_ms; });
        run([&] { record.dwInfoFlags = icon_kind; });
        run([&] { record.uFlags = NIF_INFO; });
        run([&] { Notify(NIM_MODIFY); });
    };
    Guarded("Corvane.frmSysTray.ShowBalloonTip", [&](Statements& run) {
        if (shell_v5_) std::visit([&](auto& record) { show(record, run); }, record_);
    });
}

void frmSysTray::ToolTip(const std::string& text) {
    Guarded("Corvane.frmSysTray.ToolTip", [&](Statements& run) {
        run([&] { FillTip(text); });
        run([&] { std::visit([](auto& record) { record.uFlags = NIF_TIP; }, record_); });
        run([&] { Notify(NIM_MODIFY); });
    });
}

void frmSysTray::IconHandle(std::int32_t handle) {
    const auto change = [&](auto& record, Statements& run) {
        if (record.hIcon == handle) return;
        run([&] { record.hIcon = handle; });
        run([&] { record.uFlags = NIF_ICON; });
        run([&] { Notify(NIM_MODIFY); });
    };
    Guarded("Corvane.frmSysTray.IconHandle",
            [&](Statements& run) { std::visit([&](auto& record) { change(record, run); }, record_); });
}

}  // namespace pellago
