#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "desktop/form.h"
#include "infra/timer.h"

class QFrame;
class QLabel;
class QPushButton;

namespace pellago {

/// A notice that closes itself after a count-down, so that nobody has to be there. Shown modally by its
/// owner, who sets the window title, the text and the seconds first and unloads it afterwards.
class frmMessage final : public Form, private iTimer {
public:
    frmMessage();
    ~frmMessage() override;

    /// Plain text; what does not fit into the frame is cut off above and below.
    void Message(const std::string& text);
    /// Seconds left; 10 when the form loads. The form closes about one second after they are over.
    void Seconds(std::int32_t seconds) { seconds_ = seconds; }

private:
    void Form_Load() override;
    void Form_Activate() override;
    void Form_Unload() override;
    void iTimer_Fire(std::int32_t elapsed_ms) override;

    void ShowSeconds();

    std::int32_t seconds_ = 0;
    std::unique_ptr<cTimer> timer_;
    QLabel* picture_;
    QFrame* frame_;
    QLabel* label_;
    QPushButton* ok_;
};

}  // namespace pellago
