#include "platform/data/keyset.h"

#include "data_fixture.h"
#include "support/wait_until.h"

namespace pellago::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

const std::string kCarsByMaker = "SELECT Name, Built, Sold, Maker FROM Cars ORDER BY Maker DESC, ID";
const std::string kEndless =
    "SELECT Number FROM (WITH RECURSIVE c(Number) AS (SELECT 1 UNION ALL SELECT Number + 1 FROM c)"
    " SELECT Number FROM c)";

class AKeyset : public ADatabase {
protected:
    AKeyset() { cars.Open(); }

    std::vector<std::string> Names(const std::string& filter) {
        Keyset keys(cars, "ID", filter, [] {});
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

    Recordset cars{connection, kCarsByMaker};
};

TEST_F(AKeyset, ListsTheRowsOfAFilterInTheOrderOfTheSource) {
    connection->Execute("INSERT INTO Cars (ID, Maker, Name) VALUES (5000000000, 9, 'Dog')");
    cars.Filter("Maker = 1");
    EXPECT_THAT(Names(""), ElementsAre("Dog", "Cat", "Ant", "Bee"));
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
    Keyset keys(cars, "ID", "", [] {});
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
}

// What the program writes meanwhile must neither be waited for nor be kept waiting.
TEST_F(AKeyset, SeesWhatIsCommitted) {
    connection->BeginWrites();
    connection->Execute("INSERT INTO Cars (Name, Maker) VALUES ('Dog', 9)");
    EXPECT_THAT(Names(""), ElementsAre("Cat", "Ant", "Bee"));
    connection->CommitWrites();
    EXPECT_THAT(Names(""), ElementsAre("Dog", "Cat", "Ant", "Bee"));
}

TEST_F(AKeyset, GrowsWhileItIsUsedAndEndsAtOnce) {
    Recordset numbers(connection, kEndless);
    numbers.Open();
    Keyset endless(numbers, "Number", "", [] {});
    std::optional<Keyset> nothing_found;
    nothing_found.emplace(numbers, "Number", "Number < 0", [] {});
    ASSERT_TRUE(WaitUntil([&] { return endless.Size() >= 128; }));
    const auto size = endless.Size();
    ASSERT_TRUE(WaitUntil([&] { return endless.Size() > size; }));
    EXPECT_FALSE(endless.IsComplete());
    EXPECT_LT(TimeOf([&] { nothing_found.reset(); }), std::chrono::milliseconds(500));

    std::unique_ptr<Keyset> ends_itself;
    ends_itself = std::make_unique<Keyset>(numbers, "Number", "", [&] { ends_itself.reset(); });
    EXPECT_TRUE(WaitUntil([&] { return !ends_itself; }));
}

TEST_F(AKeyset, TellsWhyItFailed) {
    connection->Execute("ALTER TABLE Cars RENAME COLUMN Maker TO Brand");
    Keyset changed(cars, "ID", "", [] {});
    EXPECT_THAT(FailureOf(changed), testing::HasSubstr("Maker"));
    std::filesystem::remove(path);
    Keyset gone(cars, "ID", "", [] {});
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
