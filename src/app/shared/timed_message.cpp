#include "app/shared/timed_message.h"

#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QStyle>
#include <algorithm>

#include "desktop/event_handler.h"
#include "infra/guarded_routine.h"

namespace pellago {
namespace {

constexpr std::int32_t kSecondsByDefault = 10;
constexpr std::int32_t kTickMs = 1000;

// In letters, so that the frame grows with the font.
constexpr int kFrameWidth = 56;
constexpr int kFrameLines = 5;

}  // namespace

frmMessage::frmMessage()
    : Form("frmMessage", BorderStyle::kFixedDialog),
      picture_(new QLabel(this)),
      frame_(new QFrame(this)),
      label_(new QLabel(frame_)),
      ok_(new QPushButton(this)) {
    setWindowTitle(QStringLiteral("Message"));
    picture_->setObjectName(QStringLiteral("picInfo"));
    picture_->setAccessibleName(QStringLiteral("Information"));
    const int icon_size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
    picture_->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxInformation).pixmap(icon_size));
    frame_->setObjectName(QStringLiteral("fraMessage"));
    frame_->setFixedSize(
        std::min(fontMetrics().averageCharWidth() * kFrameWidth, screen()->availableSize().width() * 3 / 4),
        fontMetrics().lineSpacing() * kFrameLines);
    label_->setObjectName(QStringLiteral("lblMessage"));
    label_->setTextFormat(Qt::PlainText);
    label_->setWordWrap(true);
    label_->setFixedWidth(frame_->width());
    ok_->setObjectName(QStringLiteral("btnOk"));
    CancelButton(ok_);
    OnClick(ok_, [this] { Try([this] { Hide(); }); });

    auto* layout = new QGridLayout(this);  // owned by the form
    layout->addWidget(picture_, 0, 0, Qt::AlignVCenter);
    layout->addWidget(frame_, 0, 1);
    layout->addWidget(ok_, 1, 0, 1, 2, Qt::AlignCenter);
    layout->setSizeConstraint(QLayout::SetFixedSize);
}

frmMessage::~frmMessage() = default;

void frmMessage::Message(const std::string& text) { label_->setText(QString::fromStdString(text)); }

void frmMessage::Form_Load() { seconds_ = kSecondsByDefault; }

void frmMessage::Form_Activate() {
    IgnoringErrors([&](Statements& run) {
        run([&] {
            label_->resize(label_->width(), label_->heightForWidth(label_->width()));
            label_->move(0, (frame_->height() - label_->height()) / 2);
        });
        run([&] { ShowSeconds(); });
        run([&] { timer_ = std::make_unique<cTimer>(); });
        run([&] { timer_->start(kTickMs, *this); });
    });
}

void frmMessage::Form_Unload() { timer_ = nullptr; }

void frmMessage::iTimer_Fire(std::int32_t /*elapsed_ms*/) {
    IgnoringErrors([&](Statements& run) {
        if (seconds_ != 0) {
            run([&] { ShowSeconds(); });
            run([&] { --seconds_; });
        } else {
            run([&] { timer_ = nullptr; });
            run([&] { Hide(); });
        }
    });
}

void frmMessage::ShowSeconds() {
    ok_->setText(QStringLiteral("&Ok (%1)").arg(seconds_));
    ok_->setAccessibleName(QStringLiteral("Ok (%1)").arg(seconds_));
}

}  // namespace pellago
