#pragma once

#include <QTimer>
#include <cstdint>
#include <string>

class QLabel;
class QProgressBar;

namespace pellago {

/// A line of text and a bar below it with a caption of its own. A run may change them some ten thousand times
/// a second: at most 25 of these changes are shown, and always the last one.
class ProgressDisplay final {
public:
    /// Both must outlive the display.
    ProgressDisplay(QLabel& line, QProgressBar& bar);
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    void Line(const std::string& text);
    /// `fill` is the percentage of the bar, 0 to 100.
    void Progress(std::int32_t fill, const std::string& caption);
    const std::string& Caption() const { return caption_; }

    /// Shows what has not been shown yet.
    void Flush();

private:
    void Changed();

    QLabel& line_;
    QProgressBar& bar_;
    std::string text_;
    std::int32_t fill_ = 0;
    std::string caption_;
    QTimer pause_;  ///< runs while the last change is too fresh for another
    bool changed_ = false;
};

}  // namespace pellago
