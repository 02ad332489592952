#include "app/errors/error_message.h"

#include <gmock/gmock.h>

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>

#include "desktop/message_box.h"
#include "infra/error_handler.h"
#include "infra/process_objects.h"
#include "platform/files/program.h"
#include "platform/values/run_time_error.h"
#include "support/stand_in_opener.h"
#include "support/wait_until.h"
#include "support/while_modal.h"

namespace pellago {
namespace {

using Act = std::function<void(QWidget&)>;

Act Press(const char* button) {
    return [button](QWidget& dialog) { dialog.findChild<QPushButton*>(button)->click(); };
}

class AnErrorMessage : public testing::Test {
protected:
    AnErrorMessage() {
        gAppTitle = "Pellago";
        ReplaceMessageBeep([this] { ++beeps_; });
    }
    ~AnErrorMessage() override {
        ReplaceMessageBeep(nullptr);
        UseErrorDialog(nullptr);
        UseMessageBox(ShowMessageBoxWindow);
    }

    static std::int32_t AnswerOf(const Act& act) {
        std::int32_t answer = -1;
        test::WhileModal(act, [&] { answer = ShowErrorMessage("report", ""); });
        return answer;
    }

    int beeps_ = 0;
};

TEST_F(AnErrorMessage, AnswersAsItsButtonsAndAbortsWhenItIsClosed) {
    EXPECT_EQ(AnswerOf(Press("btnAbort")), 0);
    EXPECT_EQ(AnswerOf(Press("btnRetry")), 1);
    EXPECT_EQ(AnswerOf(Press("btnIgnore")), 2);
    EXPECT_EQ(AnswerOf([](QWidget& dialog) { dialog.close(); }), 0);
    EXPECT_EQ(AnswerOf([](QWidget& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); }), 0);
    // A mnemonic is for the window that has the focus.
    EXPECT_EQ(AnswerOf([](QWidget& dialog) {
                  EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
                  QTest::keyClick(&dialog, Qt::Key_R, Qt::AltModifier);
              }),
              1);
    EXPECT_EQ(AnswerOf([](QWidget& dialog) { QTest::keyClick(dialog.focusWidget(), Qt::Key_Return); }), 0);
    EXPECT_EQ(beeps_, 7);
}

TEST_F(AnErrorMessage, ShowsTheReportAndTheVersionAsPlainText) {
    const auto look = [](QWidget& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "Error");
        const auto* title = dialog.findChild<QLabel*>("elaTitleCaption");
        EXPECT_EQ(title->text(), "An error occurred in Pellago");
        EXPECT_EQ(title->textFormat(), Qt::PlainText);
        const auto* text = dialog.findChild<QPlainTextEdit*>("txtErrorMessage");
        EXPECT_TRUE(text->isReadOnly());
        EXPECT_FALSE(dialog.findChild<QPushButton*>("btnSend")->isEnabled());
        EXPECT_EQ(dynamic_cast<frmErrorMessage&>(dialog).ErrorMessage(),
                  "\tError: 5, (<b>x</b>)\r\n\r\nend\r\nVersion: " + ProgramVersionText());
        dialog.close();
    };
    test::WhileModal(look, [] { ShowErrorMessage("\tError: 5, (<b>x</b>)\r\n\r\nend", ""); });
}

TEST_F(AnErrorMessage, IsSentAsAMailLinkWhileItStaysOpenAndSaysWhenThatFails) {
    const test::StandInOpener opener;
    std::string said;
    UseMessageBox([&](const MessageBoxRequest& request) {
        said += request.text;
        return MessageBoxAnswer::kOk;
    });
    const auto send_twice = [&](QWidget& dialog) {
        Press("btnSend")(dialog);
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(said, "");
        opener.EndsWith("exit 4");
        Press("btnSend")(dialog);
        dialog.close();
    };
    test::WhileModal(send_twice, [] { ShowErrorMessage("a: 50% \"/?$(x)\t&=\r\nb", "help@example.org"); });
    EXPECT_EQ(said, "DDE transaction failed");
    const std::string dashes(20, '-');
    const auto link = "mailto:help@example.org?subject=An%20error%20occurred%20in%20Pellago&body=%0A%0A" +
                      dashes + "%0Aa%3A 50% \"%2F%3F$(x)%09%26%3D%0Ab%0AVersion%3A " + ProgramVersionText() +
                      "%0A" + dashes;
    EXPECT_THAT(opener.TakeArguments(), testing::ElementsAre(link));
}

TEST_F(AnErrorMessage, IsTheLastOfTheHandlersActionsAndItsAnswerCounts) {
    UseErrorDialog(ShowErrorMessage);
    UseMessageBox([](const MessageBoxRequest&) { return MessageBoxAnswer::kRetry; });
    CErrorHandler handler;
    handler.ErrorHandlerActions(1 | 8);
    Err() = {5, "", "Invalid procedure call or argument", 0};
    std::string shown;
    std::int32_t decision = -1;
    const auto ignore = [&](QWidget& dialog) {
        shown = dynamic_cast<frmErrorMessage&>(dialog).ErrorMessage();
        Press("btnIgnore")(dialog);
    };
    test::WhileModal(ignore, [&] { decision = handler.HandleError("Corvane.frmMain.cmdLog_Click"); });
    EXPECT_EQ(decision, 2);
    EXPECT_THAT(shown, testing::HasSubstr("\tin Corvane.frmMain.cmdLog_Click at line 0\r\n"));
}

// A second failure may come from a timer while the first one is shown.
TEST_F(AnErrorMessage, MayComeUpOverAnotherOne) {
    std::int32_t inner = -1;
    std::int32_t outer = -1;
    const auto again = [&](QWidget& first) {
        test::WhileModal(Press("btnRetry"), [&] { inner = ShowErrorMessage("second", ""); });
        Press("btnIgnore")(first);
    };
    test::WhileModal(again, [&] { outer = ShowErrorMessage("first", ""); });
    EXPECT_EQ(inner, 1);
    EXPECT_EQ(outer, 2);
}

}  // namespace
}  // namespace pellago
