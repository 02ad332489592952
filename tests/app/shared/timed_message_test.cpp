#include "app/shared/timed_message.h"

#include <gmock/gmock.h>

#include <QFrame>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include "platform/loop/thread_timer.h"
#include "support/wait_until.h"
#include "support/while_modal.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::TimeOf;
using testing::ElementsAre;

class ATimedMessage : public testing::Test {
protected:
    ATimedMessage() { form_.Load(); }

    QPushButton* Ok() { return form_.findChild<QPushButton*>("btnOk"); }
    std::string Caption() { return Ok()->text().remove("&").toStdString(); }

    frmMessage form_;
    std::function<void()> show_ = [this] { form_.Show(ShowMode::kModal); };
};

TEST_F(ATimedMessage, CountsDownAndCloses) {
    form_.Seconds(2);
    std::vector<std::string> captions;
    const auto watch = SetTimer(20, [&](std::uint32_t) {
        if (captions.empty() || captions.back() != Caption()) captions.push_back(Caption());
    });
    const auto shown = TimeOf(show_);
    KillTimer(watch);
    EXPECT_THAT(captions, ElementsAre("Ok (2)", "Ok (1)"));
    EXPECT_GE(shown, 2950ms);
    EXPECT_LE(shown, 4000ms);
    EXPECT_FALSE(form_.isVisible());
    form_.Seconds(0);
    EXPECT_LE(TimeOf(show_), 1900ms) << "at the first tick";
}

TEST_F(ATimedMessage, ClosesByItsButtonAndByEscape) {
    std::string caption;
    const auto click = [&](QWidget&) {
        caption = Caption();
        Ok()->click();
    };
    test::WhileModal(click, show_);
    EXPECT_EQ(caption, "Ok (10)");
    test::WhileModal([&](QWidget& modal) { QTest::keyClick(&modal, Qt::Key_Escape); }, show_);
    EXPECT_FALSE(form_.isVisible());
    // Unloaded, it counts no more.
    form_.Seconds(5);
    form_.Unload();
    test::PumpFor(1200ms);
    EXPECT_EQ(Caption(), "Ok (10)");
}

TEST_F(ATimedMessage, CentresItsTextAlsoWhenThatIsTallerThanTheFrame) {
    const auto* frame = form_.findChild<QFrame*>("fraMessage");
    const auto* label = form_.findChild<QLabel*>("lblMessage");
    const auto show = [&](const QString& text) {
        form_.Message(text.toStdString());
        form_.Show();
        form_.Hide();
        EXPECT_EQ(label->y(), (frame->height() - label->height()) / 2);
        return label->y();
    };
    EXPECT_GT(show("<b>News</b>"), 0);
    EXPECT_LT(show(QString(" word").repeated(1000)), 0);
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
}

}  // namespace
}  // namespace pellago
