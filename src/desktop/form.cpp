#include "desktop/form.h"

#include <QCloseEvent>
#include <QEventLoop>
#include <QLayout>
#include <QPointer>
#include <QPushButton>
#include <exception>
#include <utility>

#include "desktop/application.h"
#include "desktop/event_handler.h"
#include "modal_window.h"
#include "platform/values/run_time_error.h"
#include "platform/windows/window_messages.h"

namespace pellago {
namespace {

Qt::WindowFlags FlagsOf(BorderStyle border) {
    switch (border) {
        case BorderStyle::kNone:
            return Qt::Window | Qt::FramelessWindowHint;
        case BorderStyle::kFixedSingle:
            return Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint;
        case BorderStyle::kFixedDialog:
            return Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowSystemMenuHint |
                   Qt::WindowCloseButtonHint;
        case BorderStyle::kFixedToolWindow:
        case BorderStyle::kSizableToolWindow:
            return Qt::Tool;
        default:
            return Qt::Window;
    }
}

constexpr int kSettledMs = 100;

/// A window that gets its size, or is given a place by QDialog, while it comes up comes up as a normal one.
void SettleBeforeMinimized(QWidget& window) {
    window.ensurePolished();
    if (window.layout()) window.layout()->activate();
    window.setAttribute(Qt::WA_Moved);
}

}  // namespace

Form::Form(const std::string& name, BorderStyle border) : QDialog(nullptr, FlagsOf(border)), border_(border) {
    setObjectName(QString::fromStdString(name));
    // A window that the desktop maximises may be told its new size before its new state.
    settled_.setSingleShot(true);
    settled_.setInterval(kSettledMs);
    connect(&settled_, &QTimer::timeout, this, &Form::RememberNormalRectangle);
}

Form::~Form() {
    DestroyWindowHandle(hwnd_);
    if (modal_loop_) modal_loop_->quit();
}

void Form::Load() {
    if (IsLoaded()) return;
    // Whoever hooks the window may hold on to its procedure for longer than the form lives.
    const QPointer<QObject> alive(this);
    hwnd_ = CreateWindowHandle([this, alive](auto hwnd, auto message, auto w_param, auto l_param) {
        return alive ? WindowProcedure(hwnd, message, w_param, l_param) : 0;
    });
    try {
        Form_Load();
    } catch (const std::exception&) {
        if (alive) ForgetHandle();
        throw;
    }
}

void Form::Show(ShowMode mode) {
    const QPointer<Form> alive(this);
    Load();
    // Form_Load may wait, and the form be unloaded meanwhile.
    if (!alive || !IsLoaded()) return;
    if (mode == ShowMode::kModal)
        ShowModal();
    else
        show();
}

void Form::ShowModal() {
    if (isVisible()) throw RunTimeError(400, "", "Form already displayed; can't show modally");
    flags_before_modal_ = windowFlags();
    MakeWindowModal(*this);
    setWindowModality(Qt::ApplicationModal);
    QEventLoop loop;
    modal_loop_ = &loop;
    const QPointer<Form> alive(this);
    show();
    // The form may have been hidden while it came up, and be destroyed by anything that happens in the loop.
    if (alive && modal_loop_ == &loop) loop.exec(QEventLoop::DialogExec);
    // The loop also ends with the program.
    if (alive && modal_loop_ == &loop) hide();
}

void Form::EndModalShow() {
    if (!modal_loop_) return;
    std::exchange(modal_loop_, nullptr)->quit();
    setWindowModality(Qt::NonModal);
    MakeWindowOrdinary(*this, flags_before_modal_);
}

bool Form::Unload(UnloadMode mode) {
    if (!IsLoaded() || unloading_) return true;
    const QPointer<Form> alive(this);
    bool cancel = false;
    RunHandler([&] { Form_QueryUnload(cancel, mode); });
    // While Form_QueryUnload asked the user, the form may have been unloaded without a question.
    if (!alive || !IsLoaded() || unloading_) return true;
    if (cancel) return false;
    unloading_ = true;
    RunHandler([&] { Form_Unload(); });
    if (!alive) return true;
    hide();
    ForgetHandle();
    unloading_ = false;
    return true;
}

void Form::ForgetHandle() { DestroyWindowHandle(std::exchange(hwnd_, 0)); }

void Form::BringToTop() {
    raise();
    activateWindow();
}

std::string Form::Name() const { return objectName().toStdString(); }

FormWindowState Form::WindowState() const {
    if (state_to_come_) return *state_to_come_;
    if (isMinimized()) return FormWindowState::kMinimized;
    return isMaximized() ? FormWindowState::kMaximized : FormWindowState::kNormal;
}

// A QWidget that is given a state before it is shown gets its native window at once, and is placed without
// its frame.
void Form::WindowState(FormWindowState state) {
    if (isVisible())
        ApplyWindowState(state);
    else
        state_to_come_ = state;
}

void Form::ApplyWindowState(FormWindowState state) {
    RememberNormalRectangle();
    state_to_come_.reset();
    const auto others = windowState() & ~(Qt::WindowMinimized | Qt::WindowMaximized);
    const QPointer<Form> alive(this);
    switch (state) {
        case FormWindowState::kMinimized:
            setWindowState(others | Qt::WindowMinimized);
            break;
        case FormWindowState::kMaximized:
            setWindowState(others | Qt::WindowMaximized);
            break;
        default:
            setWindowState(others);
            if (alive && isVisible()) BringModalWindowBack(*this);
    }
}

void Form::setVisible(bool visible) {
    const bool comes_up = visible && !isVisible();
    const QPointer<Form> alive(this);
    if (comes_up && state_to_come_ == FormWindowState::kMinimized) SettleBeforeMinimized(*this);
    if (comes_up && state_to_come_) ApplyWindowState(*state_to_come_);
    QDialog::setVisible(visible);
    if (!visible) EndModalShow();
    if (!comes_up) return;
    BringModalWindowBack(*this);
    if (alive && isVisible()) RunHandler([&] { Form_Resize(); });
    if (alive && isVisible()) RunHandler([&] { Form_Activate(); });
}

void Form::reject() {
    if (cancel_button_) cancel_button_->click();
}

std::int32_t Form::WindowProcedure(std::int32_t /*hwnd*/, std::int32_t /*message*/, std::int32_t /*w_param*/,
                                   std::int32_t /*l_param*/) {
    return 0;
}

void Form::closeEvent(QCloseEvent* event) {
    const auto mode = Application::SessionEnds() ? UnloadMode::kAppWindows : UnloadMode::kFormControlMenu;
    event->setAccepted(Unload(mode));
}

void Form::moveEvent(QMoveEvent* event) {
    QDialog::moveEvent(event);
    settled_.start();
}

// All changes of size before a form is up come as one Form_Resize when it comes up.
void Form::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    settled_.start();
    if (isVisible()) RunHandler([&] { Form_Resize(); });
}

void Form::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (isVisible() && event->type() == QEvent::WindowStateChange) RunHandler([&] { Form_Resize(); });
}

}  // namespace pellago
