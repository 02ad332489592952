#include "support/a_run.h"

namespace pellago::test {
namespace {

constexpr std::int32_t kAbort = 0;
constexpr std::int32_t kRetry = 1;
constexpr std::int32_t kIgnore = 2;

class AFailingStatement : public ARun,
                          public testing::WithParamInterface<std::tuple<std::int32_t, void (*)(CDBUpdate&)>> {
protected:
    struct Tables {
        std::vector<std::string> news;
        std::vector<std::string> channels;
        friend bool operator==(const Tables&, const Tables&) = default;
    };
    Tables Stored() {
        return {
            Column("SELECT Channel || ' ' || Link || ' ' || Title AS Row FROM News ORDER BY Channel, Link"),
            Column("SELECT ID || ' ' || Channel || ' ' || Link AS Row FROM Channels ORDER BY ID")};
    }
    void StartAfresh() {
        NewDatabase();
        Subscribe({"/one.xml", "/two.xml"});
    }
};

// Makes the i-th statement of a run fail, for every i until a run needs fewer: whatever failed and whatever
// the handler answered, the next run brings the database to the state of a run that nothing disturbed, and
// nothing stands there twice. A statement that is run again loses nothing at all.
TEST_P(AFailingStatement, WhicheverItIsLeavesADatabaseThatTheNextRunCompletes) {
    const auto [answer, run] = GetParam();
    server.Answer("/one.xml", {.body = Feed(Item("a", "l/a") + Item("b", "l/b"))});
    server.Answer("/two.xml", {.body = Feed(Item("c", ""))});
    StartAfresh();
    run(*Engine());
    const auto undisturbed = Stored();
    ASSERT_EQ(undisturbed.news.empty(), false);

    int failures = 0;
    for (int failing = 1;; ++failing) {
        ASSERT_LT(failing, 500) << "a run of this size has fewer statements";
        StartAfresh();
        bool asked = false;
        UseErrorDialog([&, with = answer](const std::string&, const std::string&) {
            asked = true;
            return with;
        });
        const auto engine = Engine();
        int statement = 0;
        std::string failed;
        database->CnnRSS()->OnStatement([&](std::string_view sql) {
            if (++statement != failing) return;
            failed = sql;
            throw RunTimeError(data_error::kStatementFailed, "Test", "made to fail");
        });
        run(*engine);
        database->CnnRSS()->OnStatement({});
        if (failed.empty()) break;
        ++failures;
        EXPECT_FALSE(database->CnnRSS()->HoldsWrites()) << failed;
        if (!asked || answer != kRetry) run(*Engine());
        EXPECT_EQ(Stored(), undisturbed) << "statement " << failing << ": " << failed;
    }
    EXPECT_GE(failures, 10);
}

INSTANTIATE_TEST_SUITE_P(
    EachAnswerAndEntry, AFailingStatement,
    testing::Combine(testing::Values(kAbort, kRetry, kIgnore),
                     testing::Values([](CDBUpdate& engine) { engine.Update(); },
                                     [](CDBUpdate& engine) { engine.UpdateOnlyOneProvider(1); },
                                     [](CDBUpdate& engine) { engine.UpdateOnlyOneChannel(1); })));

}  // namespace
}  // namespace pellago::test
