#pragma once

#include <QTimer>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/tray/sys_tray.h"
#include "desktop/form.h"
#include "engine/update_run.h"
#include "infra/subclass.h"
#include "infra/timer.h"

namespace pellago {

class DisplayPace;
class frmRSSLinkCatcher;
class ProgressDisplay;
struct MainWindowControls;

/// Messages that other programs of the user send to the main window's handle.
inline constexpr std::int32_t WM_CMD_UPDATE_CHANNEL = 2258;   ///< wParam: channel id
inline constexpr std::int32_t WM_CMD_UPDATE_PROVIDER = 2259;  ///< wParam: provider id
inline constexpr std::int32_t WM_CMD_UPDATE_ALL = 2260;
inline constexpr std::int32_t WM_CMD_SHOW = 2261;
inline constexpr std::int32_t WM_CMD_CLOSE = 2262;
inline constexpr std::int32_t WM_CMD_RESET_TIMER = 2263;
/// Answered with wParam where the window closes, with -wParam where a run keeps it from that.
inline constexpr std::int32_t WM_CMD_CLOSE_IF_IDLE = 2524;

/// What StartUpdate updates.
namespace update_mode {
inline constexpr std::int32_t kAll = 1;
inline constexpr std::int32_t kProvider = 2;
inline constexpr std::int32_t kChannel = 3;
}  // namespace update_mode

/// The program's only long-lived window: it starts and watches runs, and owns the tray icon and the link
/// catcher. A run is one long call that turns the message loop; everything here may be called inside it. The
/// window may be unloaded inside it, too: what is still on the stack then finds it unloaded, and does no
/// more.
///
/// Its bodies are in main_window.cpp (load, close, hide), download_control.cpp (a run), run_display.cpp (what
/// is shown of a run), options.cpp, tray_control.cpp and forwarded_commands.cpp.
class frmMain final : public Form,
                      private CDBUpdateEvents,
                      private frmSysTrayEvents,
                      private iSubclass,
                      private iTimer {
public:
    /// `gone` is called when the window has been unloaded: the program ends.
    explicit frmMain(std::function<void()> gone);
    ~frmMain() override;

    /// One complete run, of which kind `mode` says (update_mode); `id` is the provider's or the channel's.
    /// Returns when it has ended. Nothing while another one is in progress.
    void StartUpdate(std::int32_t mode, std::int32_t id);
    /// Returns at once; the run ends as soon as it can.
    void StopUpdate();

    void CreateSysTrayIcon();
    void OpenLinkCatcher();
    void CloseLinkCatcher();

    /// The start of a program that is not to be seen: minimised and hidden, reachable by the tray icon.
    void StartHidden();

private:
    void Form_Load() override;
    void Form_Resize() override;
    void Form_QueryUnload(bool& cancel, UnloadMode reason) override;
    void Form_Unload() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

    void ConnectControls();
    void ColorControls();
    void HookMessages();
    void UnhookMessages();
    bool AskWhetherToClose();
    void ShowInFront();

    // A desktop may have no tray, or lose it.
    void HideOrMinimize();
    void WatchTray();
    void OnTrayChange();
    void ShowUnlessInTray();

    // A run.
    void RunUpdate(std::int32_t mode, std::int32_t id);
    void InitDBObjects(CDBUpdate& engine);
    void RunEngine(std::int32_t mode, std::int32_t id);
    bool IsInternetConnected() const;
    void TellNoConnection();
    /// Null where there is no icon, as from an unload on.
    frmSysTray* Tray() const;
    /// Does something with the tray window, if there is one. To be called anew in each statement: the tray
    /// window may be unloaded inside any of them.
    template <class Action>
    void WithTray(Action action) const {
        if (auto* tray = Tray()) action(*tray);
    }
    void ShowRunning();
    void ShowIdle();
    void TellOutcome();
    /// "… at " and the present time.
    static std::string WithTime(const char* what);
    bool GivesBalloons() const;
    void ShowBalloon(const std::string& text, std::uint32_t kind);
    void ResetProgress(const std::string& text);
    void ShowChannelErrors();

    void OnStatusText(const std::string& text) override;
    void OnItemProgress(std::int32_t percent) override;
    void OnProvider(const std::string& name, std::int32_t index, std::int32_t count) override;
    void OnChannel(const std::string& name, std::int32_t index, std::int32_t count) override;
    void OnChannelDone(const Variant& name, std::int32_t channel_id) override;
    void OnTimer(std::int32_t seconds) override;
    void OnChannelError(const std::string& feed_url, std::int32_t channel_id, const std::string& channel_name,
                        const std::string& error_text) override;

    void cmdUpdate_Click();
    void cmdStop_Click();
    void cmdLog_Click();
    void btnHide_Click();

    // Options.
    void LoadSettings();
    void SaveSettings();
    void ApplyPriority();
    void StartUpdateTimer();
    void btnApply_Click();
    void txtNumber_Validate(bool& cancel);
    void FocusNumber();

    // Tray.
    void SysTrayMouseDown(std::int32_t button) override;
    void SysTrayDoubleClick(std::int32_t button) override;
    void BalloonClicked() override;
    void MenuClick(std::int32_t index, const std::string& key) override;

    // Forwarded commands.
    void iSubclass_Before(bool& handled, std::int32_t& answer, std::int32_t& hwnd, std::int32_t& message,
                          std::int32_t& w_param, std::int32_t& l_param) override;
    void iSubclass_After(std::int32_t& answer, std::int32_t hwnd, std::int32_t message, std::int32_t w_param,
                         std::int32_t l_param) override;
    void Defer(std::int32_t message, std::int32_t param);
    void iTimer_Fire(std::int32_t elapsed_ms) override;
    void RunPending();
    void StartTimer(std::int32_t interval);

    std::function<void()> gone_;
    std::int32_t icon_;
    std::unique_ptr<MainWindowControls> controls_;
    std::unique_ptr<DisplayPace> pace_;
    std::unique_ptr<ProgressDisplay> provider_;
    std::unique_ptr<ProgressDisplay> channel_;
    std::unique_ptr<ProgressDisplay> item_;

    std::unique_ptr<CDBUpdate> dbu_;  ///< there exactly while a run is in progress
    // These forms are not destroyed when they are unloaded: their routines may be on the stack.
    std::unique_ptr<frmSysTray> sys_tray_;
    std::unique_ptr<frmRSSLinkCatcher> link_catcher_;
    std::optional<std::vector<std::string>> channel_error_list_;
    std::unique_ptr<cTimer> update_timer_;
    std::unique_ptr<cSubclass> subclasser_;
    std::int32_t pending_message_ = 0;  ///< 0 while the timer stands for the automatic update
    std::int32_t pending_param_ = 0;
    std::int32_t menu_start_index_ = 0;
    std::int32_t menu_stop_index_ = 0;
    std::int32_t menu_exit_index_ = 0;
    std::int32_t menu_catcher_index_ = 0;
    std::size_t frame_ = 0;  ///< of the tray's animation, the next one
    QTimer tray_wait_;       ///< runs while a tray that is gone may still come back
    bool handling_balloon_ = false;
    bool sibling_hangs_ = false;  ///< in this run
    bool asking_ = false;
    bool shows_running_ = false;  ///< the menu, the icon and the tool tip
};

}  // namespace pellago
