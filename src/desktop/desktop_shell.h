#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "desktop/notify_icon.h"

namespace pellago {

class TrayHost;
class TrayIcon;

/// The notification area of the desktop that the program runs on. On a platform without one it answers the
/// same and shows nothing.
class DesktopShell final : public NotificationShell {
public:
    /// Lives until the application goes.
    static DesktopShell& Instance();
    ~DesktopShell() override;

    bool Notify(std::uint32_t message, const NotificationRecord& record) override;
    bool SetMenu(std::int32_t hwnd, std::int32_t id, QMenu* menu) override;
    bool AreaAvailable() override;

private:
    DesktopShell();

    bool Add(const NotificationRecord& record);
    void OnHostChange();

    std::unique_ptr<TrayHost> host_;  ///< null where there is no desktop
    std::map<std::pair<std::int32_t, std::int32_t>, std::unique_ptr<TrayIcon>> icons_;
};

}  // namespace pellago
