#include "platform/data/connection.h"

#include <sys/stat.h>

#include <chrono>
#include <thread>

#include "data_fixture.h"
#include "support/wait_until.h"

namespace pellago::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
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
    WriteFile(folder / "short.txt", "no database");
    WriteFile(folder / "long.txt", std::string(5000, 'x'));
    auto damaged = ReadFile(path);
    connection->Close();
    damaged = ReadFile(path);
    damaged.replace(4096, 4096, std::string(4096, 'x'));
    WriteFile(folder / "damaged.db", damaged);

    for (const std::string name : {"short.txt", "long.txt"}) {
        const auto thrown = OpeningOf(folder / name);
        EXPECT_EQ(thrown.number, data_error::kNotADatabase);
        EXPECT_THAT(thrown.text, HasSubstr(folder / name));
    }
    EXPECT_EQ(OpeningOf(folder.Path()).number, data_error::kNotADatabase);
    EXPECT_EQ(OpeningOf(folder / "none.db").number, data_error::kFileMissing);
    EXPECT_FALSE(std::filesystem::exists(folder / "none.db"));

    Connection other;
    other.DataSource(folder / "damaged.db");
    const auto thrown = ThrownBy([&] { other.Scalar("SELECT Name FROM Cars WHERE ID = 3"); });
    EXPECT_EQ(thrown.number, data_error::kDamaged);
    EXPECT_THAT(thrown.text, HasSubstr("damaged"));
}

TEST_F(AConnection, AsksItsHandlersEachTimeItOpens) {
    std::vector<std::string> calls;
    Connection other;
    other.OnWillConnect([&] {
        calls.emplace_back("will connect");
        other.DataSource(path);
    });
    other.OnConnected([&] {
        calls.emplace_back("connected");
        if (calls.size() == 2) throw RunTimeError(data_error::kNewerSchema, "", "newer");
    });
    EXPECT_EQ(ThrownBy([&] { other.Open(); }).number, data_error::kNewerSchema);
    EXPECT_FALSE(other.IsOpen());
    other.Open();
    other.Open();
    EXPECT_THAT(calls, ElementsAre("will connect", "connected", "will connect", "connected"));
}

TEST_F(AConnection, HoldsTheWriteLockUntilItCommits) {
    connection->BeginWrites();
    connection->BeginWrites();
    AddCar();
    EXPECT_EQ(CommittedCars(), Variant(3));
    connection->CommitWrites();
    EXPECT_FALSE(connection->HoldsWrites());
    EXPECT_EQ(CommittedCars(), Variant(4));
    connection->CommitWrites();
}

TEST_F(AConnection, GivesUpALockThatWaitsForTheUser) {
    connection->BeginWrites();
    AddCar();
    PumpFor(milliseconds(50));
    EXPECT_TRUE(connection->HoldsWrites());
    ASSERT_TRUE(WaitUntil([&] { return !connection->HoldsWrites(); }));
    EXPECT_EQ(CommittedCars(), Variant(4));

    connection->BeginWrites();
    AddCar();
    connection->OnStatement([](std::string_view) { throw RunTimeError(1, "", "disk gone"); });
    ASSERT_TRUE(WaitUntil([&] { return !connection->HoldsWrites(); }));
    EXPECT_EQ(ThrownBy([&] { connection->CommitWrites(); }).text, "disk gone");
    EXPECT_EQ(CommittedCars(), Variant(4));
    EXPECT_EQ(ThrownBy([&] { connection->CommitWrites(); }).number, 0);
}

TEST_F(AConnection, FreesTheLockWhenACommitFails) {
    connection->BeginWrites();
    AddCar();
    connection->OnStatement([](std::string_view sql) {
        if (sql == "COMMIT") throw RunTimeError(1, "", "no");
    });
    EXPECT_EQ(ThrownBy([&] { connection->CommitWrites(); }).text, "no");
    EXPECT_FALSE(connection->HoldsWrites());
    connection->OnStatement({});
    Connect()->Execute("INSERT INTO Cars (Name) VALUES ('Eel')");
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
    EXPECT_EQ(thrown.number, data_error::kStatementFailed);
    EXPECT_THAT(thrown.text, HasSubstr("full"));
    EXPECT_THAT(thrown.text, HasSubstr("is lost"));
    EXPECT_FALSE(connection->HoldsWrites());
    connection->BeginWrites();
    AddCar();
    connection->CommitWrites();
    EXPECT_EQ(CommittedCars(), Variant(4));
}

TEST_F(AConnection, WaitsForAnotherProcessToFinishWriting) {
    connection->Open();
    Connection holder;
    holder.DataSource(path);
    holder.BeginWrites();
    holder.Execute("INSERT INTO Cars (Name) VALUES ('Elk')");
    std::thread waiting([this] {
        Connection patient;
        patient.DataSource(path);
        patient.Execute(
            "BEGIN IMMEDIATE; INSERT INTO Cars (Name) SELECT 'Fox' WHERE 1 = (SELECT COUNT(*) FROM "
            "Cars WHERE Name = 'Elk'); COMMIT");
    });
    std::this_thread::sleep_for(milliseconds(300));
    EXPECT_EQ(connection->Scalar("SELECT COUNT(*) FROM Cars"), Variant(3));
    holder.CommitWrites();
    waiting.join();
    EXPECT_EQ(CommittedCars(), Variant(5));
}

TEST_F(AConnection, SaysThatAnotherProgramKeptTheLock) {
    connection->BeginWrites();
    const auto start = std::chrono::steady_clock::now();
    const auto processor = std::clock();
    Connection other;
    other.DataSource(path);
    const auto thrown = ThrownBy([&] { other.BeginWrites(); });
    EXPECT_EQ(thrown.number, data_error::kLocked);
    EXPECT_THAT(thrown.text, HasSubstr("locked by another program"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(9500));
    EXPECT_LT(std::clock() - processor, CLOCKS_PER_SEC) << "it span instead of sleeping";
    EXPECT_EQ(other.Errors().size(), 1U);
}

TEST_F(AConnection, ReadsWhatItCannotWrite) {
    if (geteuid() == 0) GTEST_SKIP() << "root may write everything";
    connection->Close();
    chmod(path.c_str(), 0444);
    for (const mode_t folder_mode : {0755U, 0555U}) {
        chmod(folder.Path().c_str(), folder_mode);
        connection->Open();
        EXPECT_EQ(connection->Scalar("SELECT COUNT(*) FROM Cars"), Variant(3));
        EXPECT_EQ(ThrownBy([&] { AddCar(); }).number, data_error::kNotWritable);
        EXPECT_EQ(ThrownBy([&] { connection->BeginWrites(); }).number, data_error::kNotWritable);
        connection->Close();
    }
    chmod(path.c_str(), 0644);
    EXPECT_EQ(ThrownBy([&] { AddCar(); }).number, data_error::kNotWritable) << "closed folder";
    connection->Close();
    chmod(folder.Path().c_str(), 0755);
    chmod(path.c_str(), 0);
    EXPECT_EQ(OpeningOf(path).number, data_error::kNotWritable);
}

}  // namespace
}  // namespace pellago::test
