#include "desktop/layered_window.h"

#include <QBitmap>
#include <QColor>
#include <QEvent>
#include <QImage>
#include <QWidget>

#include "window_flags.h"

namespace pellago {
namespace {

/// Cuts the colour key out of a window's image whenever the image changes. A child of the window.
class ColorKey final : public QObject {
public:
    ColorKey(QWidget& window, const QColor& key) : QObject(&window), window_(window), key_(key.rgb()) {
        window.installEventFilter(this);
        Cut();
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        // Rendering the image sends events of its own: paint events, and those due before a window is first
        // shown.
        if (!cutting_ && (event->type() == QEvent::Resize || event->type() == QEvent::Show)) Cut();
        if (!cutting_ && event->type() == QEvent::Paint)
            QMetaObject::invokeMethod(this, &ColorKey::Cut, Qt::QueuedConnection);
        return QObject::eventFilter(watched, event);
    }

private:
    void Cut() {
        cutting_ = true;
        QImage image(window_.size(), QImage::Format_RGB32);
        image.fill(key_);
        window_.render(&image, {}, {},
                       QWidget::DrawWindowBackground | QWidget::DrawChildren | QWidget::IgnoreMask);
        const QRegion rest(QBitmap::fromImage(image.createMaskFromColor(key_, Qt::MaskInColor)));
        // Qt takes an empty mask for no mask at all.
        const auto mask = rest.isEmpty() ? QRegion(-1, -1, 1, 1) : rest;
        if (mask != window_.mask()) window_.setMask(mask);
        cutting_ = false;
    }

    QWidget& window_;
    QRgb key_;
    bool cutting_ = false;
};

const QString kKeyName = QStringLiteral("ColorKey");

void ForgetColorKey(QWidget& window) {
    delete window.findChild<QObject*>(kKeyName, Qt::FindDirectChildrenOnly);
    window.clearMask();
}

}  // namespace

void SetTopmost(QWidget& window, bool topmost) {
    ChangeWindowFlags(window, window.windowFlags().setFlag(Qt::WindowStaysOnTopHint, topmost));
}

void SetLayeredWindowAttributes(QWidget& window, const QColor& key, std::uint8_t alpha, std::uint32_t flags) {
    if (flags & LWA_ALPHA) window.setWindowOpacity(alpha / 255.0);
    ForgetColorKey(window);
    if (flags & LWA_COLORKEY) {
        auto* cut = new ColorKey(window, key);  // owned by the window
        cut->setObjectName(kKeyName);
    }
}

}  // namespace pellago
