#include "infra/error_handler.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "infra/errors_to_file.h"
#include "infra/process_objects.h"
#include "platform/files/program.h"
#include "platform/system/event_log.h"
#include "platform/system/message_box.h"
#include "platform/system/system_version.h"
#include "platform/values/date_time.h"
#include "platform/values/run_time_error.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago {
namespace {

using testing::ElementsAre;
namespace fs = std::filesystem;

class AnErrorHandler : public testing::Test {
protected:
    AnErrorHandler() {
        const auto now = ComposeDate(2024, 5, 6, 17, 8, 9);
        ReplaceClock([now] { return now; });
        stamp_ = ShortDateText(now) + " - " + LongTimeText(now);
        handler_.Init(2, error_log_, true, false, 2, tracing_log_);
        Err() = {5, "Corvane", "Invalid procedure call or argument", 0};
    }
    ~AnErrorHandler() override {
        ReplaceClock(nullptr);
        ReplaceEventLog(nullptr);
        ReplaceSystemVersion(nullptr);
        UseMessageBox(nullptr);
        UseErrorDialog(nullptr);
    }

    std::string Head(const std::string& routine) const {
        return stamp_ + "\r\n\tError: 5, (Invalid procedure call or argument)\r\n\tin " + routine +
               " at line 0\r\n\r\nThe call stack is:\r\n";
    }

    /// Makes all four places write down what they are shown, and answer.
    void Watch(MessageBoxAnswer box, std::int32_t dialog) {
        ReplaceEventLog([this](const std::string& text) { shown_.push_back("event log: " + text); });
        UseMessageBox([this, box](const MessageBoxRequest& request) {
            EXPECT_EQ(request.buttons, MessageBoxButtons::kAbortRetryIgnore);
            EXPECT_EQ(request.icon, MessageBoxIcon::kNone);
            shown_.push_back(request.caption + ": " + request.text);
            return box;
        });
        UseErrorDialog([this, dialog](const std::string& report, const std::string& mail) {
            shown_.push_back(mail + ": " + report);
            return dialog;
        });
    }

    test::TempDir folder_;
    std::string error_log_ = folder_ / "Error Log.txt";
    std::string tracing_log_ = folder_ / "Tracing Log.txt";
    std::string stamp_;
    std::vector<std::string> shown_;
    CErrorHandler handler_;
};

TEST_F(AnErrorHandler, ReportsRoutineAndStackNewestFirst) {
    const std::string pad(20, ' ');
    handler_.CallStackPush("Corvane.frmMain.cmdLog_Click", "");
    EXPECT_EQ(handler_.HandleError(""), 0);
    auto expected = Head("Corvane.frmMain.cmdLog_Click") + pad + "Corvane.frmMain.cmdLog_Click()\r\n";
    EXPECT_EQ(test::ReadFile(error_log_), expected);

    Err() = {-2147221503, "", "x=&", 42};
    handler_.CallStackPush("Corvane.DE1.Open", "file");
    handler_.HandleError("Named");
    expected += stamp_ +
                "\r\n\tError: -2147221503, (x=&)\r\n\tin Named at line 42\r\n\r\nThe call stack is:\r\n" +
                pad + "Corvane.DE1.Open(file)\r\n" + pad + "Corvane.frmMain.cmdLog_Click()\r\n";
    EXPECT_EQ(test::ReadFile(error_log_), expected);
    EXPECT_EQ(handler_.ErrorNumber(), -2147221503);
}

TEST_F(AnErrorHandler, NamesTheRoutineUnknownWithoutAStackItMayUse) {
    handler_.CallStackEnabled(false);
    handler_.CallStackPush("Routine", "");
    handler_.CallStackClear();
    handler_.HandleError("");
    EXPECT_EQ(test::ReadFile(error_log_), Head("Unknown") + std::string(20, ' ') + "Routine()\r\n");
    handler_.CallStackEnabled(true);
    handler_.CallStackClear();
    handler_.CallStackPop();
    handler_.Clear(true, false);
    handler_.HandleError("");
    EXPECT_EQ(test::ReadFile(error_log_), Head("Unknown") + "\r\n");
}

TEST_F(AnErrorHandler, TakesItsActionsInOrderAndTheLastAnswerCounts) {
    Watch(MessageBoxAnswer::kRetry, 2);
    gAppTitle = "Pellago";
    handler_.SupportMail("help@example.org");
    handler_.ErrorHandlerActions(15);
    EXPECT_EQ(handler_.HandleError(""), 2);
    EXPECT_THAT(shown_, ElementsAre("event log: " + Head("Unknown"), "Pellago: " + Head("Unknown"),
                                    "help@example.org: " + Head("Unknown")));
    EXPECT_EQ(test::ReadFile(error_log_), Head("Unknown") + "\r\n");
    handler_.ErrorHandlerActions(1);
    EXPECT_EQ(handler_.HandleError(""), 1);
    Watch(MessageBoxAnswer::kIgnore, 0);
    EXPECT_EQ(handler_.HandleError(""), 2);
}

TEST_F(AnErrorHandler, WritesNoEventLogOnAnOlderSystem) {
    Watch(MessageBoxAnswer::kAbort, 0);
    const std::pair<std::optional<SystemVersion>, std::size_t> cases[] = {
        {SystemVersion{4, 10, 1998, 1}, 0U}, {std::nullopt, 0U}, {SystemVersion{4, 0, 1381, 2}, 1U}};
    for (const auto& [version, events] : cases) {
        // Only the smaller of the two sizes is understood.
        ReplaceSystemVersion(
            [answer = version](std::uint32_t size) { return size == 148 ? answer : std::nullopt; });
        CErrorHandler handler;
        handler.ErrorHandlerActions(4);
        shown_.clear();
        EXPECT_EQ(handler.HandleError(""), 0);
        EXPECT_EQ(shown_.size(), events);
    }
}

TEST_F(AnErrorHandler, RejectsValuesThatAreNotValid) {
    const auto rejection = [](std::uint32_t number, const std::string& text) {
        return test::Thrown{static_cast<std::int32_t>(number), text, ProgramName() + ".CErrorHandler"};
    };
    for (const auto actions : {0, 16, -1})
        EXPECT_EQ(test::ThrownBy([&] { handler_.ErrorHandlerActions(actions); }),
                  rejection(0x800443FA, "Invalid error handler actions"));
    for (const auto flags : {0, 4})
        EXPECT_EQ(test::ThrownBy([&] { handler_.TracingFlags(flags); }),
                  rejection(0x800443FB, "Invalid tracing flags"));
    EXPECT_EQ(test::ThrownBy([&] { handler_.Init(15, "new", false, true, 3, ""); }),
              rejection(0x800443F9, "Invalid file name"));
    EXPECT_EQ(handler_.ErrorHandlerActions(), 15) << "what comes before the failing value is set";
    EXPECT_EQ(handler_.TracingLogFile(), tracing_log_);
    EXPECT_EQ(test::ThrownBy([&] { handler_.Init(1, "", true, false, 1, "x"); }),
              rejection(0x800443F9, "Invalid file name"));
    EXPECT_EQ(handler_.ErrorLogFile(), "new");
    EXPECT_TRUE(handler_.TracingEnabled());
}

TEST_F(AnErrorHandler, TracesWhenAskedToAndClearsTheLogsAskedFor) {
    handler_.CallStackPush("Untraced", "");
    handler_.TracingEnabled(true);
    handler_.CallStackPush("Corvane.CDBUpdate.Update", "");
    handler_.CallStackPop();
    handler_.TracingFlags(1);
    handler_.CallStackPop();
    EXPECT_EQ(test::ReadFile(tracing_log_), stamp_ + " --- Entered routine: Corvane.CDBUpdate.Update\r\n" +
                                                stamp_ + " --- Exited routine: Corvane.CDBUpdate.Update\r\n");
    fs::create_directory(error_log_);
    handler_.Clear(true, false);
    EXPECT_TRUE(fs::exists(tracing_log_));
    handler_.Clear(true, true);
    EXPECT_FALSE(fs::exists(tracing_log_));
    EXPECT_TRUE(fs::exists(error_log_)) << "passed over";
}

TEST_F(AnErrorHandler, WithoutWindowsPrintsTheReportAndAborts) {
    handler_.ErrorHandlerActions(8);
    Err().description = "bad\x1B[31m\ttext";
    testing::internal::CaptureStderr();
    EXPECT_EQ(handler_.HandleError(""), 0);
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        stamp_ + "\n\tError: 5, (bad\u241b[31m\ttext)\n\tin Unknown at line 0\n\nThe call stack is:\n\n");
}

TEST_F(AnErrorHandler, AppendsLinesToTheErrorsLogOrLosesThem) {
    const test::EnvVar home("PELLAGO_HOME", folder_.Path().string());
    const auto log = folder_ / "ErrorsLog.txt";
    WriteErrorsLog("one");
    WriteErrorsLog("two");
    const auto start = "Pellago:\t" + DefaultText(Now()) + "\t";
    EXPECT_EQ(test::ReadFile(log), start + "one\r\n" + start + "two\r\n");
    fs::remove(log);
    fs::create_directory(log);
    EXPECT_NO_THROW(WriteErrorsLog("lost"));
}

}  // namespace
}  // namespace pellago
