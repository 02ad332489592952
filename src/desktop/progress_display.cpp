#include "desktop/progress_display.h"

#include <QProgressBar>
#include <utility>

#include "desktop/status_panel.h"

namespace pellago {
namespace {

constexpr int kPauseMs = 40;

}  // namespace

DisplayPace::DisplayPace(std::function<void()> show) : show_(std::move(show)) {
    pause_.setSingleShot(true);
    pause_.setInterval(kPauseMs);
    QObject::connect(&pause_, &QTimer::timeout, &pause_, [this] { Flush(); });
}

void DisplayPace::Changed() {
    if (!pause_.isActive()) pause_.start();
}

void DisplayPace::Flush() {
    pause_.stop();
    show_();
}

ProgressDisplay::ProgressDisplay(StatusPanel& line, QProgressBar& bar, DisplayPace& pace)
    : line_(line), bar_(bar), pace_(pace) {}

void ProgressDisplay::Line(const std::string& text) {
    text_ = text;
    pace_.Changed();
}

void ProgressDisplay::Progress(std::int32_t fill, const std::string& caption) {
    fill_ = fill;
    caption_ = caption;
    pace_.Changed();
}

void ProgressDisplay::Show() {
    line_.Line(QString::fromStdString(text_));
    // A bar paints a new value at once, beside the window's own turn.
    bar_.setUpdatesEnabled(false);
    bar_.setFormat(QString::fromStdString(caption_));
    bar_.setValue(fill_);
    bar_.setUpdatesEnabled(true);
}

}  // namespace pellago
