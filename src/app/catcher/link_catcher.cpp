#include "app/catcher/link_catcher.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <utility>

#include "app/catcher/link_handler.h"
#include "app/shared/globals.h"
#include "desktop/clipboard_format.h"
#include "desktop/event_handler.h"
#include "desktop/icons.h"
#include "desktop/layered_window.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "infra/setting_names.h"
#include "platform/loop/message_loop.h"

namespace pellago {
namespace {

constexpr std::int32_t kDefaultTopmost = 1;
constexpr std::int32_t kDefaultStep = 4;

// Commands of the menu; the numbers of the opacity commands are also the steps that are stored.
constexpr std::int32_t kTopmostCommand = 1;
constexpr std::int32_t kCloseCommand = 6;

struct OpacityStep {
    std::int32_t command;
    const char* caption;
    std::uint8_t alpha;
};
constexpr std::array kSteps{OpacityStep{2, "Opacity 25%", 64}, OpacityStep{3, "Opacity 50%", 128},
                            OpacityStep{4, "Opacity 75%", 192}, OpacityStep{5, "Opacity 100%", 255}};

constexpr int kSize = 64;
constexpr int kCornerRadius = 14;

// Where the window is painted in this colour it is transparent, and lets clicks through.
const QColor kColorKey(1, 0, 0);
const QColor kEdge(0xF0, 0x80, 0x28);

const OpacityStep& StepOf(std::int32_t number) {
    for (const auto& step : kSteps)
        if (step.command == number) return step;
    return StepOf(kDefaultStep);
}

std::int32_t Setting(const char* name, std::int32_t otherwise) {
    return CLng(gAppSettings->GetSetting(kSettingsSection, name, Variant(otherwise)));
}

// Without a stored place the catcher stays where it is; other windows are centred then.
void RestorePosition(PlacedForm& form) {
    auto placements = *gFormRestore;
    placements.CenteredByDefault(false);
    placements.GetPosition(form);
}

bool IsLink(const QMimeData& data) {
    return IsFormatOffered(data, RegisterClipFormat("UniformResourceLocator"));
}

// Asks for a copy where the source offers one: after a move the source would remove the link.
void Answer(QDropEvent& event) {
    if (!IsLink(*event.mimeData())) return event.ignore();
    const bool can_copy = event.possibleActions().testFlag(Qt::CopyAction);
    event.setDropAction(can_copy ? Qt::CopyAction : event.proposedAction());
    event.accept();
}

// A function of its own and no member: the handler may wait, and the catcher be closed and destroyed
// meanwhile.
void GiveToHandler(const QMimeData& data) {
    Try([&] {
        const auto handler = CreateLinkHandler(kLinkHandlerClass);
        const auto text = PlainTextOf(data);
        if (!text.empty()) handler->HandleLink(Variant(text));
    });
}

}  // namespace

frmRSSLinkCatcher::frmRSSLinkCatcher(std::function<void()> close)
    : Form("frmRSSLinkCatcher", BorderStyle::kFixedToolWindow),
      close_(std::move(close)),
      menu_(this),
      opacity_step_(kDefaultStep),
      topmost_(kDefaultTopmost) {
    setWindowFlag(Qt::FramelessWindowHint);
    // Its owner gives it the focus when it opens; it does not take the focus when the desktop shows it again.
    setAttribute(Qt::WA_ShowWithoutActivating);
    setFocusPolicy(Qt::StrongFocus);
    setAcceptDrops(true);
    setFixedSize(kSize, kSize);
    setWindowTitle(QStringLiteral("RSS Link Catcher"));
    setToolTip(QStringLiteral("Drop feed links here"));
    setAccessibleName(windowTitle());
    setAccessibleDescription(
        QStringLiteral("Takes the address of a feed, dropped or pasted, as a new channel"));
    MakeMenu();
}

void frmRSSLinkCatcher::Form_Load() {
    IgnoringErrors([&](Statements& run) {
        const auto screen = run([&] { return Desktop(); });
        run([&] { move(screen.right - width() * 3 / 2, screen.bottom - height() * 2); });
        run([&] { RestorePosition(*this); });
        run([&] { topmost_ = Setting(setting_name::kCatcherTopmost, kDefaultTopmost); });
        run([&] { Topmost(topmost_); });
        run([&] { opacity_step_ = Setting(setting_name::kOpacity, kDefaultStep); });
        run([&] { Opacity(opacity_step_); });
    });
}

// A person who closes the window means the entry of the owner's menu, whose mark must go, too: the owner
// closes it.
void frmRSSLinkCatcher::Form_QueryUnload(bool& cancel, UnloadMode mode) {
    if (mode != UnloadMode::kFormControlMenu) return;
    cancel = true;
    CallLater(close_);
}

void frmRSSLinkCatcher::Form_Unload() {
    IgnoringErrors([&](Statements& run) {
        run([&] { menu_.close(); });
        grab_point_.reset();
        run([&] { SetTopmost(*this, false); });
        run([&] {
            gAppSettings->SaveSetting(kSettingsSection, setting_name::kOpacity, Variant(opacity_step_));
        });
        run([&] {
            gAppSettings->SaveSetting(kSettingsSection, setting_name::kCatcherTopmost, Variant(topmost_));
        });
        run([&] { gFormRestore->SavePosition(*this); });
    });
}

void frmRSSLinkCatcher::MakeMenu() {
    const auto add = [&](const char* caption, std::int32_t command) {
        auto* entry = menu_.addAction(QLatin1String(caption));
        entry->setData(command);
        entry->setCheckable(command != kCloseCommand);
    };
    add("Always On Top", kTopmostCommand);
    menu_.addSeparator();
    for (const auto& step : kSteps) add(step.caption, step.command);
    menu_.addSeparator();
    add("Close", kCloseCommand);
    connect(&menu_, &QMenu::triggered, this,
            [this](QAction* entry) { RunHandler([&] { Choose(entry->data().toInt()); }); });
}

QAction& frmRSSLinkCatcher::Entry(std::int32_t command) const {
    const auto entries = menu_.actions();
    return **std::find_if(entries.begin(), entries.end(),
                          [&](const QAction* entry) { return entry->data().toInt() == command; });
}

void frmRSSLinkCatcher::Choose(std::int32_t command) {
    if (command == kTopmostCommand) {
        topmost_ = topmost_ == 0 ? 1 : 0;
        Topmost(topmost_);
    } else if (command == kCloseCommand) {
        CallLater(close_);
    } else {
        opacity_step_ = command;
        Opacity(command);
    }
}

void frmRSSLinkCatcher::Topmost(std::int32_t topmost) {
    SetTopmost(*this, topmost != 0);
    Entry(kTopmostCommand).setChecked(topmost != 0);
}

void frmRSSLinkCatcher::Opacity(std::int32_t step) {
    const auto& shown = StepOf(step);
    for (const auto& other : kSteps) Entry(other.command).setChecked(other.command == shown.command);
    SetLayeredWindowAttributes(*this, kColorKey, shown.alpha, LWA_COLORKEY | LWA_ALPHA);
}

// The picture's smooth edge is blended with a colour of its own: with the key it would become a dark fringe.
// For the same reason the shape consists of whole pixels of the window, also where the screen has finer ones.
void frmRSSLinkCatcher::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), kColorKey);
    QPainterPath shape;
    shape.addRoundedRect(rect(), kCornerRadius, kCornerRadius);
    painter.setClipRegion(QRegion(shape.toFillPolygon().toPolygon()));
    painter.fillRect(rect(), kEdge);
    IconFromHandle(LoadIcon("pellago-catcher")).paint(&painter, rect());
}

void frmRSSLinkCatcher::mousePressEvent(QMouseEvent* event) {
    activateWindow();
    if (event->button() == Qt::LeftButton) grab_point_ = event->position();
}

// From the global place of the pointer: its place in the window, as the event tells it, may be older than the
// window's last move.
void frmRSSLinkCatcher::mouseMoveEvent(QMouseEvent* event) {
    if (!grab_point_ || !event->buttons().testFlag(Qt::LeftButton)) return;
    const auto pointer = event->globalPosition() - pos();
    move(pos() + (pointer - *grab_point_).toPoint());
}

void frmRSSLinkCatcher::mouseReleaseEvent(QMouseEvent* event) {
    grab_point_.reset();
    if (event->button() == Qt::RightButton) menu_.popup(event->globalPosition().toPoint());
}

// By the mouse the event comes when the button goes down, but the menu comes up when it is released.
void frmRSSLinkCatcher::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() != QContextMenuEvent::Mouse) ShowMenuByKey();
}

void frmRSSLinkCatcher::ShowMenuByKey() { menu_.popup(mapToGlobal(rect().center())); }

// Paste is for those who cannot drag. Of the keys that open menus Qt turns only one into contextMenuEvent.
void frmRSSLinkCatcher::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Paste)) {
        if (const auto* copied = QGuiApplication::clipboard()->mimeData()) GiveToHandler(*copied);
    } else if (event->keyCombination() == (Qt::SHIFT | Qt::Key_F10)) {
        ShowMenuByKey();
    } else {
        Form::keyPressEvent(event);
    }
}

void frmRSSLinkCatcher::dragEnterEvent(QDragEnterEvent* event) { Answer(*event); }

void frmRSSLinkCatcher::dragMoveEvent(QDragMoveEvent* event) { Answer(*event); }

void frmRSSLinkCatcher::dropEvent(QDropEvent* event) {
    Answer(*event);
    if (!event->isAccepted()) return;
    // A source that only knows moves keeps a link whose move was not accepted.
    if (event->dropAction() == Qt::MoveAction) event->ignore();
    GiveToHandler(*event->mimeData());
}

}  // namespace pellago
