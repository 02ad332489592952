#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "desktop/form.h"
#include "desktop/notify_icon.h"

class QAction;
class QMenu;

namespace pellago {

/// What the icon in the notification area tells its owner, from the message loop, also in the middle of a
/// run or while a modal window is up. The owner may unload the tray window from inside. `button` is 1 for the
/// left and 2 for the right mouse button.
class frmSysTrayEvents {
public:
    virtual ~frmSysTrayEvents() = default;
    virtual void SysTrayMouseDown(std::int32_t /*button*/) {}
    virtual void SysTrayMouseUp(std::int32_t /*button*/) {}
    virtual void SysTrayMouseMove() {}
    virtual void SysTrayDoubleClick(std::int32_t /*button*/) {}
    virtual void MenuClick(std::int32_t /*index*/, const std::string& /*key*/) {}
    virtual void BalloonShow() {}
    virtual void BalloonHide() {}
    virtual void BalloonTimeOut() {}
    virtual void BalloonClicked() {}
};

/// The hidden window behind the icon in the notification area: it adds the icon as it loads and removes it
/// as it unloads. Menu items count from 0. The icon is in sys_tray.cpp, its menu in sys_tray_menu.cpp.
class frmSysTray final : public Form {
public:
    /// `events` must outlive the form.
    explicit frmSysTray(frmSysTrayEvents& events);
    ~frmSysTray() override;

    /// `icon_kind` is one of NIIF_…. At most 255 characters of text and 63 of title are shown.
    void ShowBalloonTip(const std::string& text, const std::string& title, std::uint32_t icon_kind,
                        std::uint32_t timeout_ms);
    /// Shown as far as the record holds it, 127 characters today; an empty text changes nothing.
    void ToolTip(const std::string& text);
    void IconHandle(std::int32_t handle);

    /// Adds an item at the menu's end and returns its index. The caption "-" makes a separator; `key` comes
    /// back with MenuClick.
    std::int32_t AddMenuItem(const std::string& caption, const std::string& key, bool is_default);
    /// This and the next three do nothing for an index that is not in the menu.
    void EnableMenuItem(std::int32_t index, bool enabled);
    void CheckMenuItem(std::int32_t index, bool checked);
    bool IsMenuItemChecked(std::int32_t index) const;
    /// The items after it move one place down. The first item cannot be removed while it is the only one.
    void RemoveMenuItem(std::int32_t index);
    /// The item shown bold; the first instead of one that is not in the menu.
    std::int32_t DefaultMenuIndex() const { return default_index_; }
    void DefaultMenuIndex(std::int32_t index);
    /// Opens the menu at the pointer. Not needed where the desktop opens it by itself.
    void ShowMenu();

private:
    void Form_Load() override;
    void Form_QueryUnload(bool& cancel, UnloadMode mode) override;
    void Form_Unload() override;
    std::int32_t WindowProcedure(std::int32_t hwnd, std::int32_t message, std::int32_t w_param,
                                 std::int32_t l_param) override;
    void Form_MouseMove(std::int32_t code);

    void GetWindowsVersion();
    void FillRecord();
    void FillTip(const std::string& text);
    void Notify(std::uint32_t message) const;
    void AddItem();
    void mnuSysTray_Click(QAction* item);
    bool ValidIndex(std::int32_t index) const;
    QAction* Item(std::int32_t index) const { return items_.at(static_cast<std::size_t>(index)); }

    frmSysTrayEvents& events_;
    bool shell_v5_ = false;                                  ///< the system knows balloons
    std::variant<NOTIFYICONDATAW, NOTIFYICONDATAA> record_;  ///< in the form that the system takes
    QMenu* menu_;
    std::vector<QAction*> items_;  ///< owned by the menu; an item that is checkable is checked
    bool first_item_used_ = false;
    std::int32_t default_index_ = 0;
};

}  // namespace pellago
