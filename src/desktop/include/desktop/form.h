#pragma once

#include <QDialog>
#include <QPointer>
#include <QPushButton>
#include <QRect>
#include <QTimer>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/windows/window_placement.h"

class QEventLoop;

namespace pellago {

/// Who asks a form to unload.
enum class UnloadMode : std::int32_t {
    kFormControlMenu = 0,  ///< the person, by the close box or the window's menu
    kFormCode = 1,         ///< the program
    kAppWindows = 2        ///< the end of the session
};

enum class ShowMode : std::int32_t { kModeless = 0, kModal = 1 };

/// A window with the life that the program's forms have. Loaded, it has a window handle and can be shown,
/// hidden and shown again; unloaded it is hidden and its handle is gone, but the object stays until its owner
/// lets it go: it may be unloaded by anything that happens while one of its routines is still running. An
/// owner may also destroy it in the middle of any of them. Its life is in form.cpp, where it stands on the
/// screen in form_placement.cpp.
class Form : public QDialog, public PlacedForm {
public:
    Form(const std::string& name, BorderStyle border);
    ~Form() override;

    /// Makes the handle and runs Form_Load; nothing when it is loaded already.
    void Load();
    /// Loads the form when it is not loaded. Modal: returns when the form is hidden or unloaded. Throws
    /// RunTimeError 400 when a visible form is to be shown modally.
    void Show(ShowMode mode = ShowMode::kModeless);
    void Hide() { hide(); }
    /// Asks Form_QueryUnload, runs Form_Unload, hides the form and takes the handle away. False when
    /// Form_QueryUnload cancelled that; nothing when the form is not loaded.
    bool Unload(UnloadMode mode = UnloadMode::kFormCode);
    bool IsLoaded() const { return hwnd_ != 0; }

    /// 0 while the form is not loaded.
    std::int32_t hWnd() const { return hwnd_; }
    /// Above the other windows, and with the focus where the desktop gives it.
    void BringToTop();

    const std::string& Tag() const { return tag_; }
    void Tag(const std::string& tag) { tag_ = tag; }
    /// The button that Escape presses; without one Escape does nothing.
    void CancelButton(QPushButton* button) { cancel_button_ = button; }

    std::string Name() const override;
    BorderStyle Border() const override { return border_; }
    bool Visible() const override { return isVisible(); }
    FormWindowState WindowState() const;
    void WindowState(FormWindowState state) override;
    std::optional<WindowPlacement> Placement() const override;
    /// A form that is not visible stays so, and comes up as the placement says. One that would lie off all
    /// screens is brought back.
    void Placement(const WindowPlacement& placement) override;
    ScreenRectangle Desktop() const override;

    void setVisible(bool visible) override;
    void reject() override;

protected:
    virtual void Form_Load() {}
    /// Each time that the form has come up.
    virtual void Form_Activate() {}
    /// The size or the window state has changed; once each time that the form comes up, before Form_Activate.
    virtual void Form_Resize() {}
    virtual void Form_QueryUnload(bool& /*cancel*/, UnloadMode /*mode*/) {}
    virtual void Form_Unload() {}
    /// Answers a message sent to the form's handle.
    virtual std::int32_t WindowProcedure(std::int32_t hwnd, std::int32_t message, std::int32_t w_param,
                                         std::int32_t l_param);

    void closeEvent(QCloseEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void ShowModal();
    void EndModalShow();
    void ForgetHandle();
    QSize SizeNow() const;
    void ApplyWindowState(FormWindowState state);
    QRect NormalRectangle() const;
    void RememberNormalRectangle();

    BorderStyle border_;
    std::int32_t hwnd_ = 0;
    bool unloading_ = false;
    std::string tag_;
    QPointer<QPushButton> cancel_button_;
    std::optional<FormWindowState>
        state_to_come_;  ///< for a form that is not visible: its state when it comes up
    QRect normal_;       ///< the frame's corner and the size inside the frame, when the form was last neither
                         ///< minimised nor maximised
    QTimer settled_;
    Qt::WindowFlags flags_before_modal_;
    QEventLoop* modal_loop_ = nullptr;  ///< while the form is shown modally
};

}  // namespace pellago
