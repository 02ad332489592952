#include "progress_display.h"

#include <QLabel>
#include <QProgressBar>

namespace pellago {
namespace {

constexpr int kPauseMs = 40;

}  // namespace

ProgressDisplay::ProgressDisplay(QLabel& line, QProgressBar& bar) : line_(line), bar_(bar) {
    pause_.setSingleShot(true);
    pause_.setInterval(kPauseMs);
    QObject::connect(&pause_, &QTimer::timeout, &pause_, [this] { Flush(); });
}

void ProgressDisplay::Line(const std::string& text) {
    text_ = text;
    Changed();
}

void ProgressDisplay::Progress(std::int32_t fill, const std::string& caption) {
    fill_ = fill;
    caption_ = caption;
    Changed();
}

void ProgressDisplay::Changed() {
    changed_ = true;
    if (!pause_.isActive()) Flush();
}

void ProgressDisplay::Flush() {
    if (!changed_) return;
    changed_ = false;
    pause_.start();
    line_.setText(QString::fromStdString(text_));
    bar_.setFormat(QString::fromStdString(caption_));
    bar_.setValue(fill_);
}

}  // namespace pellago
