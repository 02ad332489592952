#pragma once

#include <cstdint>
#include <string>

#include "desktop/form.h"

class QLabel;
class QPlainTextEdit;

namespace pellago {

/// The dialog that shows an error report. Its answer is its tag: "ABORT", "RETRY" or "IGNORE". "ABORT" also
/// when it was closed by the title bar or by Escape.
class frmErrorMessage final : public Form {
public:
    frmErrorMessage();

    /// The address that reports are sent to. Without one nothing can be sent.
    void SupportMail(const std::string& address) { support_mail_ = address; }
    /// The text that is shown: the report, and below it the program's version. Lines end in CR LF.
    const std::string& ErrorMessage() const { return message_; }
    void ErrorMessage(const std::string& report);

private:
    void Form_Activate() override;

    void ShapeTexts();
    void FillButtonRow();
    void AddButton(QPushButton* button, const char* name, const QString& caption);
    void Answer(const std::string& tag);
    void Send();

    std::string support_mail_;
    std::string message_;  ///< a text box would give it back with line ends and blanks of its own
    QLabel* title_caption_;
    QPlainTextEdit* text_;
    QWidget* buttons_;
    QPushButton* send_;
    QPushButton* ignore_;
    QPushButton* retry_;
    QPushButton* abort_;
};

/// Shows a report in the dialog and waits for the answer: 0 abort, 1 retry, 2 ignore. The ErrorDialog of a
/// program with windows.
std::int32_t ShowErrorMessage(const std::string& report, const std::string& support_mail);

}  // namespace pellago
