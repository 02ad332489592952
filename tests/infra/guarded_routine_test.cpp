#include "infra/guarded_routine.h"

#include <gmock/gmock.h>

#include <deque>
#include <vector>

#include "infra/process_objects.h"
#include "support/support.h"

namespace pellago {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::ThrowsMessage;

[[noreturn]] void Fail(const char* description = "failed") { throw RunTimeError(13, "", description); }

/// The dialog takes its answers from a list, and keeps the reports.
class AGuardedRoutine : public testing::Test {
protected:
    AGuardedRoutine() {
        gErrorHandler = std::make_unique<CErrorHandler>();
        gErrorHandler->Init(8, "unused", true, false, 2, folder_ / "trace.txt");
        UseErrorDialog([this](const std::string& report, const std::string&) {
            reports_.push_back(report);
            if (answers_.empty()) Fail("no answer left");
            const auto answer = answers_.front();
            answers_.pop_front();
            return answer;
        });
    }
    ~AGuardedRoutine() override {
        UseErrorDialog(nullptr);
        gErrorHandler.reset();
    }

    /// The call-stack listing of a report made now.
    std::string Stack() {
        answers_.push_front(0);
        gErrorHandler->HandleError("");
        const auto report = reports_.back();
        reports_.pop_back();
        const std::string head = "The call stack is:\r\n";
        return report.substr(report.find(head) + head.size());
    }

    test::TempDir folder_;
    std::deque<std::int32_t> answers_;
    std::vector<std::string> reports_;
    std::vector<std::string> done_;
};

TEST_F(AGuardedRoutine, AbortLeavesItAloneAndItsCallerGoesOn) {
    const std::string pad(20, ' ');
    answers_ = {0};
    std::int32_t line = 0;
    Guarded("Outer", [&](Statements& run) {
        run([&] {
            Guarded("Inner", [&](Statements& inner) {
                inner([&] { done_.push_back(Stack()); });
                line = __LINE__ + 1;
                inner([&] { Fail(); });
                inner([&] { done_.push_back("never"); });
            });
            done_.push_back("rest of the caller's statement");
        });
        run([&] { done_.push_back("next"); });
        EXPECT_EQ(Stack(), "") << "an abort clears the whole stack";
    });
    EXPECT_THAT(done_,
                ElementsAre(pad + "Inner()\r\n" + pad + "Outer()", "rest of the caller's statement", "next"));
    ASSERT_EQ(reports_.size(), 1U);
    EXPECT_THAT(reports_[0],
                HasSubstr("\tError: 13, (failed)\r\n\tin Inner at line " + std::to_string(line)));
}

TEST_F(AGuardedRoutine, RetryRunsTheFailingStatementAgainUntilItSucceeds) {
    answers_ = {1, 1};
    int attempts = 0;
    Guarded("Routine", [&](Statements& run) {
        run([&] { done_.push_back("before"); });
        EXPECT_EQ(run([&] {
                      if (++attempts < 3) Fail();
                      return attempts;
                  }),
                  3);
    });
    EXPECT_EQ(reports_.size(), 2U);
    EXPECT_THAT(done_, ElementsAre("before"));
}

TEST_F(AGuardedRoutine, IgnoreGoesOnWithAResultThatWasNeverAssigned) {
    answers_ = {2, 2};
    Guarded("Routine", [&](Statements& run) {
        const std::string text = run([&]() -> std::string { Fail(); });
        const bool flag = run([&]() -> bool { Fail(); });
        done_.push_back(text + (flag ? "true" : "false"));
    });
    EXPECT_THAT(done_, ElementsAre("false"));
    EXPECT_EQ(Stack(), "");
}

TEST_F(AGuardedRoutine, AnotherAnswerLeavesItWithoutClearingTheStack) {
    answers_ = {7};
    Guarded("Routine", [&](Statements& run) {
        run([&] { Fail(); });
        done_.push_back("never");
    });
    EXPECT_THAT(done_, IsEmpty());
    EXPECT_EQ(Stack(), std::string(20, ' ') + "Routine()");
}

TEST_F(AGuardedRoutine, AbortInsideAStatementOfItsOwnLeavesItWhole) {
    answers_ = {0};
    Guarded("Outer", [&](Statements& run) {
        run([&] {
            Guarded("Inner", [&](Statements&) { run([&] { Fail(); }); });
            done_.push_back("never");
        });
        done_.push_back("never");
    });
    EXPECT_EQ(reports_.size(), 1U);
    EXPECT_THAT(done_, IsEmpty());
}

TEST_F(AGuardedRoutine, AFailureOfTheHandlerReachesTheCaller) {
    const auto routine = [&] {
        Guarded("Routine", [&](Statements& run) {
            run([&] {
                run([&] { Fail(); });
                done_.push_back("never");
            });
            done_.push_back("never");
        });
    };
    EXPECT_THAT(routine, ThrowsMessage<RunTimeError>("CErrorHandler component failure"));
    EXPECT_EQ(reports_.size(), 1U) << "an enclosing statement must not ask again";
    EXPECT_THAT(done_, IsEmpty());
}

TEST_F(AGuardedRoutine, HandlesATraceThatCannotBeWrittenLikeAStatement) {
    const auto unwritable = folder_ / "none/trace.txt";
    gErrorHandler->TracingEnabled(true);
    gErrorHandler->TracingLogFile(unwritable);
    answers_ = {0};
    Guarded("Routine", [&](Statements&) { done_.push_back("never"); });
    EXPECT_THAT(done_, IsEmpty());
    EXPECT_THAT(reports_, ElementsAre(HasSubstr("in Routine at line")));

    answers_ = {2};
    Guarded("Routine", [&](Statements& run) {
        run([&] { gErrorHandler->TracingLogFile(folder_ / "trace.txt"); });
        done_.push_back("ran");
    });
    EXPECT_THAT(done_, ElementsAre("ran"));
    EXPECT_THAT(test::ReadFile(folder_ / "trace.txt"), HasSubstr(" --- Exited routine: Routine\r\n"));
}

TEST_F(AGuardedRoutine, WithoutAHandlerIsAnErrorToItsCaller) {
    gErrorHandler.reset();
    EXPECT_THAT([] { Guarded("Routine", [](Statements&) { ADD_FAILURE(); }); },
                ThrowsMessage<RunTimeError>("Object variable or With block variable not set"));
}

TEST(IgnoringErrors, RunsEveryStatementAndAsksNobody) {
    std::vector<int> done;
    IgnoringErrors([&](Statements& run) {
        run([&] { Fail(); });
        run([&] { done.push_back(run([&]() -> int { Fail(); })); });
        run([&] { done.push_back(1); });
    });
    EXPECT_THAT(done, ElementsAre(0, 1));
}

TEST(Try, YieldsAnEmptyResultAndKeepsTheFailureWithItsLine) {
    EXPECT_EQ(Try([] { return 7; }), 7);
    Err() = {};
    EXPECT_EQ(Try([]() -> int { Fail(); }), 0);
    const auto line = __LINE__ - 1;
    EXPECT_EQ(Err().line, line);
    EXPECT_EQ(Err().description, "failed");
}

TEST(RaisingErrors, EndsAtTheFirstFailure) {
    bool went_on = false;
    EXPECT_THAT(
        [&] {
            RaisingErrors([&](Statements& run) {
                run([] { Fail(); });
                run([&] { went_on = true; });
            });
        },
        ThrowsMessage<RunTimeError>("failed"));
    EXPECT_FALSE(went_on);
}

}  // namespace
}  // namespace pellago
