#include "live_display.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <vector>

#include "cli/plain_text.h"

namespace pellago::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kInterval{50};
constexpr std::size_t kUsualColumns = 80;

std::size_t Columns() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kUsualColumns;
    return size.ws_col;
}

/// A terminal that was stopped with Ctrl-S must not hold up the run, which may have the database locked.
bool TakesOutput() {
    pollfd terminal{STDOUT_FILENO, POLLOUT, 0};
    return poll(&terminal, 1, 0) != 0;
}

std::string StepText(const char* what, const Progress::Step& step) {
    return what + std::to_string(step.index) + " of " + std::to_string(step.count) + ": " + step.name;
}

std::string Elapsed(Clock::duration time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time).count();
    const auto rest = std::to_string(seconds % 60);
    return std::to_string(seconds / 60) + (rest.size() < 2 ? ":0" : ":") + rest;
}

std::vector<std::string> Lines(const Progress& progress, Clock::duration time) {
    std::vector<std::string> lines;
    if (progress.provider.count > 0) lines.push_back(StepText("Provider ", progress.provider));
    if (progress.channel.count > 0) lines.push_back(StepText("Channel ", progress.channel));
    lines.push_back(Elapsed(time) + "  " + std::to_string(progress.new_items) + " new, " +
                    std::to_string(progress.failed) + " failed  " + std::to_string(progress.percent) +
                    " %  " + progress.status);
    return lines;
}

std::string EraseLines(std::size_t count) {
    return count == 0 ? "" : "\r\x1B[" + std::to_string(count) + "A\x1B[J";
}

}  // namespace

LiveDisplay::LiveDisplay(std::ostream& terminal) : terminal_(terminal), start_(Clock::now()) {}

void LiveDisplay::Show(const Progress& progress) {
    const auto now = Clock::now();
    if (now - last_drawn_ < kInterval || !TakesOutput()) return;
    last_drawn_ = now;
    const auto lines = Lines(progress, now - start_);
    // Characters may be wider than a column, so the terminal is told to cut, too, and not to wrap.
    auto text = EraseLines(lines_) + "\x1B[?7l";
    for (const auto& line : lines) text += Shortened(PlainLine(line), Columns()) + "\n";
    lines_ = lines.size();
    terminal_ << text << "\x1B[?7h" << std::flush;
}

void LiveDisplay::Clear() {
    terminal_ << EraseLines(lines_) << std::flush;
    lines_ = 0;
    last_drawn_ = {};
}

}  // namespace pellago::cli
