#include "desktop/message_box.h"

#include <gmock/gmock.h>

#include <QMessageBox>
#include <QPushButton>
#include <QTest>

#include "support/while_modal.h"

namespace pellago {
namespace {

using Buttons = MessageBoxButtons;
using Answer = MessageBoxAnswer;

Answer AnswerTo(const MessageBoxRequest& request, const std::function<void(QMessageBox&)>& act) {
    auto answer = Answer{};
    test::WhileModal([&](QWidget& modal) { act(dynamic_cast<QMessageBox&>(modal)); },
                     [&] { answer = ShowMessageBox(request); });
    return answer;
}

TEST(MessageBoxWindow, AnswersAsTheButtonThatWasPressed) {
    for (const auto& [buttons, pressed, answer] :
         {std::tuple{Buttons::kAbortRetryIgnore, QMessageBox::Abort, Answer::kAbort},
          {Buttons::kAbortRetryIgnore, QMessageBox::Retry, Answer::kRetry},
          {Buttons::kAbortRetryIgnore, QMessageBox::Ignore, Answer::kIgnore},
          {Buttons::kYesNo, QMessageBox::Yes, Answer::kYes},
          {Buttons::kYesNoCancel, QMessageBox::No, Answer::kNo},
          {Buttons::kRetryCancel, QMessageBox::Cancel, Answer::kCancel},
          {Buttons::kOkCancel, QMessageBox::Ok, Answer::kOk}})
        EXPECT_EQ(
            AnswerTo({"text", "caption", buttons}, [&](QMessageBox& box) { box.button(pressed)->click(); }),
            answer);
}

TEST(MessageBoxWindow, AnswersEscapeWithTheMostHarmlessButton) {
    for (const auto& [buttons, answer] : {std::pair{Buttons::kOk, Answer::kOk},
                                          {Buttons::kOkCancel, Answer::kCancel},
                                          {Buttons::kAbortRetryIgnore, Answer::kAbort},
                                          {Buttons::kYesNoCancel, Answer::kCancel},
                                          {Buttons::kYesNo, Answer::kNo},
                                          {Buttons::kRetryCancel, Answer::kCancel}}) {
        EXPECT_EQ(
            AnswerTo({"text", "", buttons}, [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); }),
            answer);
        EXPECT_EQ(AnswerTo({"text", "", buttons}, [](QMessageBox& box) { box.close(); }), answer);
    }
}

TEST(MessageBoxWindow, ShowsTextFromOutsideAsItStands) {
    AnswerTo({"<b>50%</b>\nof it", "Pellago", Buttons::kOk, MessageBoxIcon::kExclamation},
             [](QMessageBox& box) {
                 EXPECT_EQ(box.text(), "<b>50%</b>\nof it");
                 EXPECT_EQ(box.textFormat(), Qt::PlainText);
                 EXPECT_EQ(box.windowTitle(), "Pellago");
                 EXPECT_EQ(box.icon(), QMessageBox::Warning);
                 box.close();
             });
}

}  // namespace
}  // namespace pellago
