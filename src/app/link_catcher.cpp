#include "app/link_catcher.h"

#include <QLabel>
#include <QVBoxLayout>
#include <utility>

#include "desktop/icons.h"
#include "desktop/layered_window.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "platform/message_loop.h"

namespace pellago {
namespace {

constexpr int kSize = 64;

}  // namespace

frmRSSLinkCatcher::frmRSSLinkCatcher(std::function<void()> close)
    : Form("frmRSSLinkCatcher", BorderStyle::kFixedToolWindow), close_(std::move(close)) {
    setWindowTitle(QStringLiteral("RSS Link Catcher"));
    auto* picture = new QLabel(this);
    picture->setPixmap(IconFromHandle(LoadIcon("pellago-catcher")).pixmap(kSize));
    auto* layout = new QVBoxLayout(this);  // owned by the form
    layout->addWidget(picture, 0, Qt::AlignCenter);
    setFixedSize(sizeHint());
}

void frmRSSLinkCatcher::Form_Load() {
    IgnoringErrors([&](Statements& run) {
        const auto screen = run([&] { return Desktop(); });
        run([&] { move(screen.right - width() * 3 / 2, screen.bottom - height() * 2); });
        run([&] { gFormRestore->GetPosition(*this); });
        run([&] { SetTopmost(*this, true); });
    });
}

// Who closes it from its title bar means what its owner's menu says; that entry's mark must go, too.
void frmRSSLinkCatcher::Form_QueryUnload(bool& Cancel, UnloadMode mode) {
    if (mode != UnloadMode::kFormControlMenu) return;
    Cancel = true;
    CallLater(close_);
}

void frmRSSLinkCatcher::Form_Unload() {
    IgnoringErrors([&](Statements& run) {
        run([&] { SetTopmost(*this, false); });
        run([&] { gFormRestore->SavePosition(*this); });
    });
}

}  // namespace pellago
