#include "app/errors/error_message.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

#include "app/shared/mail_link.h"
#include "desktop/event_handler.h"
#include "desktop/message_box.h"
#include "infra/process_objects.h"
#include "infra/shell.h"
#include "platform/files/program.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr const char* kAbort = "ABORT";
constexpr const char* kRetry = "RETRY";
constexpr const char* kIgnore = "IGNORE";

constexpr const char* kLineBreak = "\r\n";

// In letters, so that the text area grows with the font.
constexpr int kColumns = 72;
constexpr int kLines = 14;

}  // namespace

frmErrorMessage::frmErrorMessage()
    : Form("frmErrorMessage", BorderStyle::kSizable),
      title_caption_(new QLabel(this)),
      text_(new QPlainTextEdit(this)),
      buttons_(new QWidget(this)),
      send_(new QPushButton(buttons_)),
      ignore_(new QPushButton(buttons_)),
      retry_(new QPushButton(buttons_)),
      abort_(new QPushButton(buttons_)) {
    setWindowTitle(QStringLiteral("Error"));
    ShapeTexts();
    FillButtonRow();
    auto* layout = new QVBoxLayout(this);  // owned by the form
    layout->addWidget(title_caption_);
    layout->addWidget(text_, 1);
    layout->addWidget(buttons_);
    abort_->setFocus();
    const QSize text_size(text_->fontMetrics().averageCharWidth() * kColumns,
                          text_->fontMetrics().lineSpacing() * kLines);
    const QSize around = sizeHint() - text_->sizeHint();
    resize((text_size + around).expandedTo(sizeHint()).boundedTo(screen()->availableSize() * 9 / 10));
}

void frmErrorMessage::ShapeTexts() {
    title_caption_->setObjectName(QStringLiteral("elaTitleCaption"));
    title_caption_->setTextFormat(Qt::PlainText);
    title_caption_->setWordWrap(true);
    auto bold = font();
    bold.setBold(true);
    title_caption_->setFont(bold);

    text_->setObjectName(QStringLiteral("txtErrorMessage"));
    text_->setAccessibleName(QStringLiteral("Error report"));
    text_->setReadOnly(true);
    text_->setTabChangesFocus(true);
    text_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

void frmErrorMessage::FillButtonRow() {
    buttons_->setObjectName(QStringLiteral("elaButtons"));
    auto* row = new QHBoxLayout(buttons_);  // owned by the button row
    row->setContentsMargins(0, 0, 0, 0);
    AddButton(send_, "btnSend", QStringLiteral("&Send to Support"));
    row->addStretch();
    AddButton(ignore_, "btnIgnore", QStringLiteral("&Ignore"));
    AddButton(retry_, "btnRetry", QStringLiteral("&Retry"));
    AddButton(abort_, "btnAbort", QStringLiteral("&Abort"));
    OnClick(send_, [this] { Send(); });
    OnClick(ignore_, [this] { Answer(kIgnore); });
    OnClick(retry_, [this] { Answer(kRetry); });
    OnClick(abort_, [this] { Answer(kAbort); });
    CancelButton(abort_);
}

void frmErrorMessage::AddButton(QPushButton* button, const char* name, const QString& caption) {
    button->setObjectName(QLatin1String(name));
    button->setText(caption);
    buttons_->layout()->addWidget(button);
}

void frmErrorMessage::ErrorMessage(const std::string& report) {
    message_ = report + kLineBreak + "Version: " + ProgramVersionText();
    text_->setPlainText(QString::fromStdString(message_));
}

void frmErrorMessage::Form_Activate() {
    title_caption_->setText(QString::fromStdString("An error occurred in " + gAppTitle));
    send_->setEnabled(!support_mail_.empty());
    MessageBeep();
    BringToTop();
    Tag(kAbort);
}

void frmErrorMessage::Answer(const std::string& tag) {
    Tag(tag);
    Hide();
}

void frmErrorMessage::Send() {
    const auto subject = Replace(title_caption_->text().toStdString(), " ", "%20");
    CShell().OpenUrl(ReportMailLink(support_mail_, subject, message_));
}

std::int32_t ShowErrorMessage(const std::string& report, const std::string& support_mail) {
    frmErrorMessage dialog;
    dialog.Load();
    dialog.ErrorMessage(report);
    dialog.SupportMail(support_mail);
    dialog.Show(ShowMode::kModal);
    const auto answer = dialog.Tag();
    dialog.Unload();
    if (answer == kAbort) return 0;
    return answer == kRetry ? 1 : 2;
}

}  // namespace pellago
