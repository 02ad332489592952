#pragma once

#include <QTimer>
#include <cstdint>
#include <functional>
#include <string>

class QProgressBar;

namespace pellago {

class StatusPanel;

/// Says when the displays of a window show their changes: all of them together, so that the window is painted
/// once for them, and at most 25 times a second.
class DisplayPace final {
public:
    /// `show` has every display of the window show itself.
    explicit DisplayPace(std::function<void()> show);
    DisplayPace(const DisplayPace&) = delete;
    DisplayPace& operator=(const DisplayPace&) = delete;

    /// A display has changed: it is shown 40 ms later, together with all that changes until then.
    void Changed();
    /// Shows what has changed now.
    void Flush();

private:
    std::function<void()> show_;
    QTimer pause_;  ///< runs while something is to be shown
};

/// A line of text and a bar below it with a caption of its own. A run may change them some ten thousand times
/// a second: the pace says which of these changes are shown, and the last one always is.
class ProgressDisplay final {
public:
    /// All must outlive the display.
    ProgressDisplay(StatusPanel& line, QProgressBar& bar, DisplayPace& pace);
    ProgressDisplay(const ProgressDisplay&) = delete;
    ProgressDisplay& operator=(const ProgressDisplay&) = delete;

    void Line(const std::string& text);
    /// `fill` is the percentage of the bar, 0 to 100.
    void Progress(std::int32_t fill, const std::string& caption);
    const std::string& Caption() const { return caption_; }

    /// Called by the pace, through its owner.
    void Show();

private:
    StatusPanel& line_;
    QProgressBar& bar_;
    DisplayPace& pace_;
    std::string text_;
    std::int32_t fill_ = 0;
    std::string caption_;
};

}  // namespace pellago
