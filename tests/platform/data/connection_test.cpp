#include "platform/data/connection.h"

#include <sys/stat.h>

#include <chrono>

#include "data_fixture.h"
#include "support/wait_until.h"

namespace pellago::test {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

class AConnection : public ADatabase {
protected:
    static Thrown OpeningOf(const std::string& file) {
        Connection other;
        other.DataSource(file);
        return ThrownBy([&] { other.Open(); });
    }
    /// As seen by another connection, that is, what is committed.
    Variant CommittedCars() const { return Connect()->Scalar("SELECT COUNT(*) FROM Cars"); }
    void AddCar() const { connection->Execute("INSERT INTO Cars (Name) VALUES ('Dog')"); }
};

TEST_F(AConnection, NamesTheFileThatIsNoDatabase) {
    connection->Close();
    WriteFile(folder / "text.txt", std::string(5000, 'x'));
    WriteFile(folder / "damaged.db", ReadFile(path).replace(4096, 4096, std::string(4096, 'x')));

    const auto thrown = OpeningOf(folder / "text.txt");
    EXPECT_EQ(thrown.number, data_error::kNotADatabase);
    EXPECT_THAT(thrown.text, HasSubstr(folder / "text.txt"));
    EXPECT_EQ(OpeningOf(folder.Path()).number, data_error::kNotADatabase);
    EXPECT_EQ(OpeningOf(folder / "none.db").number, data_error::kFileMissing);
    EXPECT_FALSE(std::filesystem::exists(folder / "none.db"));
    connection->DataSource(folder / "damaged.db");
    EXPECT_EQ(ThrownBy([&] { connection->Scalar("SELECT Name FROM Cars WHERE ID = 3"); }).number,
              data_error::kDamaged);
}

TEST_F(AConnection, HoldsTheWriteLockUntilItCommitsOrWaitsForTheUser) {
    connection->BeginWrites();
    connection->BeginWrites();
    AddCar();
    EXPECT_EQ(CommittedCars(), Variant(3));
    connection->CommitWrites();
    EXPECT_EQ(CommittedCars(), Variant(4));

    connection->BeginWrites();
    AddCar();
    PumpFor(milliseconds(50));
    EXPECT_TRUE(connection->HoldsWrites());
    ASSERT_TRUE(WaitUntil([&] { return !connection->HoldsWrites(); }));
    EXPECT_EQ(CommittedCars(), Variant(5));

    connection->BeginWrites();
    AddCar();
    connection->OnStatement([](std::string_view) { throw RunTimeError(1, "", "disk gone"); });
    ASSERT_TRUE(WaitUntil([&] { return !connection->HoldsWrites(); }));
    // What is lost stays lost, however often somebody tries again.
    EXPECT_EQ(ThrownBy([&] { connection->CommitWrites(); }).text, "disk gone");
    EXPECT_EQ(ThrownBy([&] { connection->CommitWrites(); }).text, "disk gone");
    EXPECT_EQ(CommittedCars(), Variant(5));
    connection->RollbackWrites();
    EXPECT_EQ(ThrownBy([&] { connection->CommitWrites(); }).number, 0);
}

TEST_F(AConnection, CanCommitAgainAfterACommitThatFailedOrGiveItUp) {
    std::vector<std::string> failures;
    connection->OnFailure([&](const ErrorInfo& error) { failures.push_back(error.description); });
    connection->BeginWrites();
    AddCar();
    const auto fail = [](std::string_view sql) {
        if (sql == "COMMIT") throw RunTimeError(1, "", "no");
    };
    connection->OnStatement(fail);
    EXPECT_EQ(ThrownBy([&] { connection->CommitWrites(); }).text, "no");
    connection->OnStatement({});
    connection->CommitWrites();
    EXPECT_EQ(CommittedCars(), Variant(4));
    connection->BeginWrites();
    AddCar();
    connection->OnStatement(fail);
    EXPECT_EQ(ThrownBy([&] { connection->CommitWrites(); }).text, "no");
    connection->RollbackWrites();
    connection->OnStatement({});
    EXPECT_THAT(failures, testing::ElementsAre("no", "no"));
    EXPECT_EQ(ThrownBy([&] { Connect()->Execute("UPDATE Cars SET Name = 'Eel'"); }).text, "");
    EXPECT_EQ(CommittedCars(), Variant(4));
    connection->BeginWrites();
    AddCar();
    connection->Close();
    EXPECT_EQ(CommittedCars(), Variant(5));
}

TEST_F(AConnection, BeginsAnewAfterTheDatabaseRolledBack) {
    connection->BeginWrites();
    AddCar();
    const auto pages = CLng(connection->Scalar("PRAGMA page_count"));
    connection->Scalar("PRAGMA max_page_count = " + std::to_string(pages));
    const auto thrown =
        ThrownBy([&] { connection->Execute("INSERT INTO Cars (Name) VALUES (hex(zeroblob(20000)))"); });
    EXPECT_EQ(thrown.number, data_error::kNotWritable);
    EXPECT_THAT(thrown.text, HasSubstr("full"));
    EXPECT_THAT(thrown.text, HasSubstr("is lost"));
    EXPECT_FALSE(connection->HoldsWrites());
    connection->BeginWrites();
    AddCar();
    EXPECT_THAT(ThrownBy([&] { connection->CommitWrites(); }).text, HasSubstr("is lost"));
    EXPECT_EQ(CommittedCars(), Variant(4)) << "what came afterwards is kept";
}

TEST_F(AConnection, ReadsWhatItCannotWrite) {
    if (geteuid() == 0) GTEST_SKIP() << "root may write everything";
    connection->Close();
    chmod(path.c_str(), 0444);
    for (const mode_t folder_mode : {0555U, 0755U}) {
        chmod(folder.Path().c_str(), folder_mode);
        EXPECT_EQ(CommittedCars(), Variant(3));
        EXPECT_EQ(ThrownBy([&] { AddCar(); }).number, data_error::kNotWritable);
        EXPECT_EQ(ThrownBy([&] { connection->BeginWrites(); }).number, data_error::kNotWritable);
        connection->Close();
    }
    chmod(path.c_str(), 0);
    EXPECT_EQ(OpeningOf(path).number, data_error::kNotWritable);
}

}  // namespace
}  // namespace pellago::test
