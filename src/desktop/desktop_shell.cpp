#include "desktop_shell.h"

#include <QGuiApplication>

#include "tray_host.h"
#include "tray_icon.h"

namespace pellago {
namespace {

constexpr std::uint32_t kVersion = 3;

std::unique_ptr<DesktopShell>& TheShell() {
    static std::unique_ptr<DesktopShell> shell;
    return shell;
}

bool OnADesktop() {
    const auto platform = QGuiApplication::platformName();
    return platform == QLatin1String("xcb") || platform.startsWith(QLatin1String("wayland"));
}

}  // namespace

DesktopShell& DesktopShell::Instance() {
    auto& shell = TheShell();
    if (!shell) {
        shell.reset(new DesktopShell);
        qAddPostRoutine([] { TheShell().reset(); });
    }
    return *shell;
}

DesktopShell::DesktopShell()
    : host_(OnADesktop() ? std::make_unique<TrayHost>([this] { OnHostChange(); }) : nullptr) {}

DesktopShell::~DesktopShell() = default;

bool DesktopShell::Notify(std::uint32_t message, const NotificationRecord& record) {
    if (message == NIM_ADD) return Add(record);
    const auto found = icons_.find({record.hwnd, record.id});
    if (found == icons_.end()) return false;
    switch (message) {
        case NIM_MODIFY:
            found->second->Apply(record);
            return true;
        case NIM_DELETE:
            icons_.erase(found);
            return true;
        case NIM_SETVERSION:
            return record.timeout_or_version <= kVersion;
        default:
            return false;
    }
}

bool DesktopShell::Add(const NotificationRecord& record) {
    auto& icon = icons_[{record.hwnd, record.id}];
    if (icon) return false;
    icon = std::make_unique<TrayIcon>(record.hwnd, record.id, host_.get());
    icon->Apply(record);
    return true;
}

bool DesktopShell::SetMenu(std::int32_t hwnd, std::int32_t id, QMenu* menu) {
    const auto found = icons_.find({hwnd, id});
    if (found == icons_.end()) return false;
    found->second->SetMenu(menu);
    return true;
}

bool DesktopShell::AreaAvailable() { return host_ && host_->Available(); }

void DesktopShell::OnHostChange() {
    for (const auto& [key, icon] : icons_) icon->ShowLater();
    NotificationAreaChanged();
}

}  // namespace pellago
