#include "platform/data/keyset.h"

#include "data_fixture.h"
#include "support/wait_until.h"

namespace pellago::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

const std::string kCars = "SELECT Name, Built, Sold, Maker FROM Cars ORDER BY Name";
const std::string kEndless =
    "SELECT Number FROM (WITH RECURSIVE c(Number) AS (SELECT 1 UNION ALL SELECT Number + 1 FROM c)"
    " SELECT Number FROM c)";

class AKeyset : public ADatabase {
protected:
    AKeyset() { cars.Open(); }

    std::vector<std::string> Names(const std::string& filter) {
        Keyset keys(cars, "ID", filter, "Maker DESC", [] {});
        EXPECT_TRUE(WaitUntil([&] { return keys.IsComplete(); })) << filter;
        std::vector<std::string> names;
        for (std::size_t at = 0; at < keys.Size(); ++at) names.push_back(CStr(keys.Row(at).at(0)));
        return names;
    }
    std::vector<std::pair<Variant, std::size_t>> Groups(const std::string& column,
                                                        const std::string& filter) {
        RowGroups groups(cars, column, filter, [] {});
        std::vector<std::pair<Variant, std::size_t>> found;
        EXPECT_TRUE(WaitUntil([&] { return groups.Groups().has_value(); })) << column;
        for (const auto& group : groups.Groups().value_or(std::vector<RowGroup>()))
            found.emplace_back(group.value, group.count);
        return found;
    }
    std::string FailureOf(const Keyset& keys) {
        WaitUntil([&] { return keys.IsComplete(); });
        return keys.Failure() ? keys.Failure()->description : "";
    }

    Recordset cars{connection, kCars};
};

TEST_F(AKeyset, ListsTheRowsOfAFilterInOrder) {
    connection->Execute("INSERT INTO Cars (ID, Maker, Name) VALUES (5000000000, 9, 'Dog')");
    cars.Filter("Maker = 1");
    EXPECT_THAT(Names(""), ElementsAre("Dog", "Cat", "Bee", "Ant"));
    EXPECT_THAT(Names("Sold = True AND Name >= 'B'"), ElementsAre("Cat"));
    EXPECT_THAT(Names("Built = Null AND Maker < 9"), ElementsAre("Bee"));
    EXPECT_THAT(Names("Built >= '2001-02-03' AND Built < '2001-02-04'"), ElementsAre("Ant"));
    EXPECT_THAT(Names("Maker > 9"), IsEmpty());
    EXPECT_EQ(ThrownBy([&] { Names("Colour = 1"); }).number, data_error::kNoSuchItem);
    cars.Close();
    EXPECT_EQ(ThrownBy([&] { Names(""); }).number, data_error::kObjectClosed);
}

TEST_F(AKeyset, ReadsAPageOfRowsWhenOneIsAskedFor) {
    connection->Execute(
        "WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n < 5000)"
        " INSERT INTO Cars (Name, Maker) SELECT 'car ' || n, -n FROM c");
    int statements = 0;
    connection->OnStatement([&](std::string_view) { ++statements; });
    Keyset keys(cars, "ID", "", "[Maker] DESC", [] {});
    ASSERT_TRUE(WaitUntil([&] { return keys.IsComplete(); }));
    EXPECT_EQ(keys.Size(), 5003U);
    EXPECT_EQ(statements, 0);
    for (std::size_t at = 4980; at < 5003; ++at)
        EXPECT_EQ(keys.Row(at).at(0), Variant("car " + std::to_string(at - 2)));
    EXPECT_EQ(statements, 2);
    for (std::size_t at = 0; at < keys.Size(); at += 60) keys.Row(at);
    connection->Execute("DELETE FROM Cars WHERE Name = 'car 4990'");
    EXPECT_THAT(keys.Row(4992), IsEmpty());
    EXPECT_EQ(keys.Row(4993).at(0), Variant("car 4991"));
    connection->Close();
    EXPECT_EQ(ThrownBy([&] { keys.Row(0); }).number, data_error::kObjectClosed);
}

// What the program writes meanwhile must neither be waited for nor be kept waiting.
TEST_F(AKeyset, SeesWhatIsCommitted) {
    connection->BeginWrites();
    connection->Execute("INSERT INTO Cars (Name, Maker) VALUES ('Dog', 9)");
    EXPECT_THAT(Names(""), ElementsAre("Cat", "Bee", "Ant"));
    connection->CommitWrites();
    EXPECT_THAT(Names(""), ElementsAre("Dog", "Cat", "Bee", "Ant"));
}

TEST_F(AKeyset, GrowsWhileItIsUsed) {
    connection->Execute(
        "WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n < 500000)"
        " INSERT INTO Cars (ID) SELECT n * 3 FROM c WHERE n > 1");
    std::vector<std::size_t> sizes;
    Keyset keys(cars, "ID", "", "", [&] { sizes.push_back(keys.Size()); });
    EXPECT_TRUE(WaitUntil([&] { return keys.Size() > 0; }));
    EXPECT_FALSE(keys.IsComplete());
    EXPECT_EQ(keys.Row(127).size(), 4U);
    EXPECT_TRUE(WaitUntil([&] { return keys.IsComplete(); }));
    EXPECT_EQ(sizes.front(), 128U);
    EXPECT_EQ(sizes.back(), 500002U);
}

TEST_F(AKeyset, EndsAtOnceInTheMiddle) {
    Recordset numbers(connection, kEndless);
    numbers.Open();
    auto keys = std::make_unique<Keyset>(numbers, "Number", "Number < 0", "", [] {});
    PumpFor(std::chrono::milliseconds(50));
    EXPECT_LT(TimeOf([&] { keys.reset(); }), std::chrono::milliseconds(500));
    keys = std::make_unique<Keyset>(cars, "ID", "", "", [&] { keys.reset(); });
    EXPECT_TRUE(WaitUntil([&] { return !keys; }));
}

TEST_F(AKeyset, TellsWhyItFailed) {
    connection->Execute("ALTER TABLE Cars RENAME COLUMN Maker TO Brand");
    Keyset changed(cars, "ID", "", "", [] {});
    EXPECT_THAT(FailureOf(changed), testing::HasSubstr("Maker"));
    std::filesystem::remove(path);
    Keyset gone(cars, "ID", "", "", [] {});
    EXPECT_THAT(FailureOf(gone), testing::HasSubstr("cars.db"));
    EXPECT_EQ(gone.Size(), 0U);
}

TEST_F(AKeyset, CountsTheRowsOfEachGroup) {
    connection->Execute(
        "INSERT INTO Cars (Name, Built, Maker) VALUES ('D''oh', '2001-02-03 23:59:59', NULL)");
    EXPECT_THAT(Groups("Maker", ""), ElementsAre(Pair(Null(), 1), Pair(7, 2), Pair(8, 1)));
    EXPECT_THAT(Groups("Built", ""), ElementsAre(Pair(Null(), 1), Pair("2001-02-03", 2), Pair("soon", 1)));
    EXPECT_THAT(Groups("Sold", "Maker = 7"), ElementsAre(Pair(false, 1), Pair(true, 1)));
    EXPECT_EQ(ThrownBy([&] { Groups("Colour", ""); }).number, data_error::kNoSuchItem);
}

}  // namespace
}  // namespace pellago::test
