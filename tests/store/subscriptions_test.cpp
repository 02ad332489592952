#include "store/subscriptions.h"

#include <gmock/gmock.h>

#include <optional>

#include "store/all_or_nothing.h"
#include "store/database_file.h"
#include "support/support.h"

namespace pellago::test {
namespace {

class ADatabaseInTheMiddleOfARun : public testing::Test {
protected:
    ADatabaseInTheMiddleOfARun() {
        CreateDatabase(folder_ / "RSS.MDB");
        database.emplace(folder_ / "RSS.MDB");
        connection().Execute("INSERT INTO Channels (Channel, httpRSSFile) VALUES ('first', 'a')");
    }
    Connection& connection() const { return *database->CnnRSS(); }
    /// As another connection sees it.
    Variant Count(const std::string& table) const {
        return DE1(folder_ / "RSS.MDB").CnnRSS()->Scalar("SELECT COUNT(*) FROM " + table);
    }

    TempDir folder_;
    std::optional<DE1> database;
};

TEST_F(ADatabaseInTheMiddleOfARun, GetsAChannelWithoutTouchingTheRunsRowsAndWrites) {
    auto& rows = *database->Recordsets("rsAllChannels");
    rows.Open();
    rows.Filter("ID = 1");
    rows.Value("Channel", "second");
    connection().BeginWrites();
    connection().Execute("INSERT INTO Providers (Provider) VALUES ('of the run')");
    {
        AllOrNothing writes(connection());
        Subscriptions(*database).AddProvider({"given up", "", true, {}});
    }
    {
        AllOrNothing writes(connection());
        EXPECT_EQ(Subscriptions(*database).AddChannel({"", "b", "", true}, 1), 2);
        writes.Keep();
    }
    EXPECT_TRUE(connection().HoldsWrites());
    EXPECT_EQ(Count("Providers"), Variant(0));
    rows.Update();
    connection().CommitWrites();
    EXPECT_EQ(Count("Providers"), Variant(1));
    EXPECT_EQ(connection().Scalar("SELECT MIN(Channel) || MAX(Channel) FROM Channels"),
              Variant(std::string("bsecond")));

    connection().BeginWrites();
    {
        AllOrNothing writes(connection());
        Subscriptions(*database).AddChannel({"", "c", "", true}, 1);
        writes.Keep();
    }
    connection().RollbackWrites();
    EXPECT_EQ(Count("Channels"), Variant(2));
}

TEST_F(ADatabaseInTheMiddleOfARun, KeepsWritesOfAScopeTogetherOrNotAtAll) {
    for (const bool keep : {false, true}) {
        AllOrNothing writes(connection());
        Subscriptions(*database).AddChannel({"", "b", "", true}, 1);
        if (keep) writes.Keep();
        EXPECT_EQ(connection().HoldsWrites(), !keep);
        EXPECT_EQ(Count("Channels"), Variant(keep ? 2 : 1));
    }
    EXPECT_FALSE(connection().HoldsWrites());
}

}  // namespace
}  // namespace pellago::test
