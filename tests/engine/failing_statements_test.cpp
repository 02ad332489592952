#include "a_run.h"

namespace pellago::test {
namespace {

using testing::IsEmpty;

class AFailingStatement : public ARun {
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
        database.reset();
        for (const char* name : {"RSS.MDB", "RSS.MDB-wal", "RSS.MDB-shm"})
            std::filesystem::remove(folder_ / name);
        CreateDatabase(folder_ / "RSS.MDB");
        database = std::make_unique<DE1>(folder_ / "RSS.MDB");
        Subscribe({"/one.xml", "/two.xml"});
    }
};

// Makes the i-th statement of a run fail, for every i until a run needs fewer: whatever failed, the next run
// brings the database to the state of a run that nothing disturbed, and nothing stands there twice.
TEST_F(AFailingStatement, WhicheverItIsLeavesADatabaseThatTheNextRunCompletes) {
    server.Answer("/one.xml", {.body = Feed(Item("a", "l/a") + Item("b", "l/b"))});
    server.Answer("/two.xml", {.body = Feed(Item("c", ""))});
    StartAfresh();
    Engine()->Update();
    const auto undisturbed = Stored();
    ASSERT_EQ(undisturbed.news.size(), 3U);

    int failures = 0;
    for (int failing = 1;; ++failing) {
        ASSERT_LT(failing, 500) << "a run of this size has fewer statements";
        StartAfresh();
        int statement = 0;
        std::string failed;
        database->CnnRSS()->OnStatement([&](std::string_view sql) {
            if (++statement != failing) return;
            failed = sql;
            throw RunTimeError(data_error::kStatementFailed, "Test", "made to fail");
        });
        Engine()->Update();
        database->CnnRSS()->OnStatement({});
        if (failed.empty()) break;
        ++failures;
        EXPECT_FALSE(database->CnnRSS()->HoldsWrites()) << failed;
        Engine()->Update();
        EXPECT_EQ(Stored(), undisturbed) << "statement " << failing << ": " << failed;
        EXPECT_THAT(Column("SELECT ID FROM DownloadSessions WHERE StartTime IS NULL"), IsEmpty()) << failed;
    }
    EXPECT_GE(failures, 20);
}

}  // namespace
}  // namespace pellago::test
