#include "desktop/message_box.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <array>
#include <utility>

#include "modal_window.h"
#include "platform/values/replaceable.h"

namespace pellago {
namespace {

using Button = QMessageBox::StandardButton;
using Answer = MessageBoxAnswer;

QMessageBox::StandardButtons ButtonsOf(MessageBoxButtons buttons) {
    switch (buttons) {
        case MessageBoxButtons::kOkCancel:
            return QMessageBox::Ok | QMessageBox::Cancel;
        case MessageBoxButtons::kAbortRetryIgnore:
            return QMessageBox::Abort | QMessageBox::Retry | QMessageBox::Ignore;
        case MessageBoxButtons::kYesNoCancel:
            return QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel;
        case MessageBoxButtons::kYesNo:
            return QMessageBox::Yes | QMessageBox::No;
        case MessageBoxButtons::kRetryCancel:
            return QMessageBox::Retry | QMessageBox::Cancel;
        default:
            return QMessageBox::Ok;
    }
}

QMessageBox::Icon IconOf(MessageBoxIcon icon) {
    switch (icon) {
        case MessageBoxIcon::kCritical:
            return QMessageBox::Critical;
        case MessageBoxIcon::kQuestion:
            return QMessageBox::Question;
        case MessageBoxIcon::kExclamation:
            return QMessageBox::Warning;
        case MessageBoxIcon::kInformation:
            return QMessageBox::Information;
        default:
            return QMessageBox::NoIcon;
    }
}

constexpr std::array<std::pair<Button, Answer>, 7> kAnswers = {{{QMessageBox::Ok, Answer::kOk},
                                                                {QMessageBox::Cancel, Answer::kCancel},
                                                                {QMessageBox::Abort, Answer::kAbort},
                                                                {QMessageBox::Retry, Answer::kRetry},
                                                                {QMessageBox::Ignore, Answer::kIgnore},
                                                                {QMessageBox::Yes, Answer::kYes},
                                                                {QMessageBox::No, Answer::kNo}}};

/// The first of these buttons that the box has.
Button EscapeButton(const QMessageBox& box) {
    for (const auto button : {QMessageBox::Cancel, QMessageBox::No, QMessageBox::Abort})
        if (box.button(button)) return button;
    return QMessageBox::Ok;
}

// Lines of text shown: a box grows with its text, and its buttons would lie below the screen.
constexpr qsizetype kLines = 20;
constexpr qsizetype kLetters = 2000;

void SetText(QMessageBox& box, const QString& text) {
    const auto begin = text.section(QLatin1Char('\n'), 0, kLines - 1).left(kLetters);
    const bool is_whole = begin.size() == text.size();
    box.setText(is_whole ? text : begin + QStringLiteral("…"));
    if (!is_whole) box.setDetailedText(text);
}

Replaceable message_beep(QApplication::beep);

}  // namespace

MessageBoxAnswer ShowMessageBoxWindow(const MessageBoxRequest& request) {
    QMessageBox box;
    box.setObjectName(QStringLiteral("MessageBox"));
    box.setWindowTitle(QString::fromStdString(request.caption));
    box.setTextFormat(Qt::PlainText);
    SetText(box, QString::fromStdString(request.text));
    box.setIcon(IconOf(request.icon));
    box.setStandardButtons(ButtonsOf(request.buttons));
    const auto escape = EscapeButton(box);
    box.setEscapeButton(escape);
    MakeWindowModal(box);
    box.exec();
    // A box that was ended together with the program was not answered at all.
    auto* clicked = box.clickedButton();
    const auto button = clicked ? box.standardButton(clicked) : escape;
    for (const auto& [known, answer] : kAnswers)
        if (known == button) return answer;
    return Answer::kOk;
}

void MessageBeep() { message_beep(); }

void ReplaceMessageBeep(std::function<void()> beep) { message_beep.Replace(std::move(beep)); }

}  // namespace pellago
