#include "platform/data/recordset.h"

#include <functional>
#include <map>

#include "data_fixture.h"

namespace pellago::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const std::string kAllCars = "SELECT ID, Name, Built, Sold, Maker, Note FROM Cars";

class ARecordset : public ADatabase {
protected:
    ARecordset() {
        cars.Open();
        connection->OnStatement([&](std::string_view sql) { statements.emplace_back(sql); });
    }

    std::vector<std::string> Names() {
        std::vector<std::string> names;
        for (cars.MoveFirst(); !cars.Eof(); cars.MoveNext()) names.push_back(CStr(cars.Value("Name")));
        return names;
    }

    Recordset cars{connection, kAllCars};
    std::vector<std::string> statements;
};

TEST_F(ARecordset, ReadsValuesByTheirDeclaredTypes) {
    connection->Execute("UPDATE Cars SET Maker = 3000000000 WHERE ID = 2");
    EXPECT_EQ(cars.RecordCount(), 3);
    EXPECT_EQ(cars.Value("id"), Variant(1));
    EXPECT_EQ(cars.Value("Built"), Variant(ComposeDate(2001, 2, 3, 4, 5, 6)));
    EXPECT_EQ(cars.Value("Sold"), Variant(true));
    cars.MoveNext();
    EXPECT_EQ(cars.Value("Built"), Variant(Null()));
    EXPECT_EQ(cars.Value("Maker"), Variant(std::int64_t{3000000000}));
    cars.MoveNext();
    EXPECT_EQ(cars.Value("Built"), Variant("soon"));
    EXPECT_EQ(ThrownBy([&] { cars.Value("Colour"); }).number, data_error::kNoSuchItem);
    cars.MoveNext();
    EXPECT_TRUE(cars.Eof());
    EXPECT_EQ(ThrownBy([&] { cars.Value("ID"); }).number, data_error::kNoCurrentRow);
    EXPECT_EQ(ThrownBy([&] { cars.MoveNext(); }).number, data_error::kNoCurrentRow);
}

TEST_F(ARecordset, FiltersAndSortsInTheDatabase) {
    connection->Execute("INSERT INTO Cars (Name, Sold, Maker) VALUES ('O''Bee', 0, 9), ('50%', 0, -2)");
    for (const auto& [filter, names] : std::map<std::string, std::vector<std::string>>{
             {"Maker = 7 AND Sold = True", {"Ant"}},
             {"[maker]=7 and Sold=FALSE", {"Bee"}},
             {"Name = 'O''Bee'", {"O'Bee"}},
             {"Name = 'bee'", {}},
             {"Name LIKE 'b*'", {"Bee"}},
             {"Name LIKE '*bee'", {"Bee", "O'Bee"}},
             {"Name LIKE '50%'", {"50%"}},
             {"Name LIKE '%'", {}},
             {"Maker = -2", {"50%"}},
             {"Maker = 8.0", {"Cat"}},
             {"", {"Ant", "Bee", "Cat", "O'Bee", "50%"}},
         }) {
        cars.Filter(filter);
        EXPECT_EQ(Names(), names) << filter;
    }
    cars.Filter("Sold = True");
    cars.Sort("[Maker] DESC, Name");
    EXPECT_THAT(Names(), ElementsAre("Cat", "Ant"));
}

TEST_F(ARecordset, KeepsTheFilterBeforeOneThatIsNotValid) {
    cars.Filter("ID = 3");
    for (const std::string filter : {"Colour = 1", "ID = 1 OR 1 = 1", "ID = 1 AND", "ID 1", "ID = 'x",
                                     "ID = Maker", "ID = 1; DROP TABLE Cars", "ID LIKE 3", "ID = 1 -- x\n2",
                                     "ID = - '1'", "ID = 999999999999999999999 9"}) {
        EXPECT_NE(ThrownBy([&] { cars.Filter(filter); }).number, 0) << filter;
        EXPECT_NE(ThrownBy([&] { cars.Sort(filter); }).number, 0) << filter;
        EXPECT_EQ(cars.Filter(), "ID = 3");
    }
    EXPECT_THAT(Names(), ElementsAre("Cat"));
}

TEST_F(ARecordset, AddsARowWithoutReadingTheTableAndChangesIt) {
    cars.AddNew();
    cars.Value("Name", "Dog");
    EXPECT_EQ(cars.Value("Name"), Variant("Dog"));
    EXPECT_EQ(cars.Value("ID"), Variant(Null()));
    cars.Update();
    EXPECT_EQ(cars.Value("ID"), Variant(4));
    cars.Value("Built", ComposeDate(2020, 1, 1));
    cars.Update();
    EXPECT_THAT(statements, ElementsAre(HasSubstr("INSERT INTO"),
                                        AllOf(HasSubstr("UPDATE"), Not(HasSubstr("Name\" =")))));
    EXPECT_EQ(connection->Scalar("SELECT Name || Built FROM Cars WHERE ID = 4"),
              Variant("Dog2020-01-01 00:00:00"));

    cars.Value("Name", "Doe");
    EXPECT_EQ(cars.RecordCount(), 4);
    cars.Update();
    EXPECT_EQ(cars.Value("Note"), Variant("none"));
    EXPECT_THAT(Names(), ElementsAre("Ant", "Bee", "Cat", "Doe"));
    cars.AddNew();
    cars.Update();
    EXPECT_EQ(cars.RecordCount(), 5);
    EXPECT_EQ(cars.Value("ID"), Variant(5));
}

TEST_F(ARecordset, KeepsChangesPendingWhenTheyCannotBeWritten) {
    cars.MoveFirst();
    cars.Value("Sold", 2);
    EXPECT_EQ(ThrownBy([&] { cars.Update(); }).number, data_error::kConstraint);
    EXPECT_EQ(connection->Errors().size(), 1U);
    EXPECT_EQ(cars.Value("Sold"), Variant(2));
    cars.CancelUpdate();
    EXPECT_EQ(cars.Value("Sold"), Variant(true));

    connection->Execute("DELETE FROM Cars WHERE ID = 1");
    cars.Value("Name", "Gone");
    EXPECT_EQ(ThrownBy([&] { cars.Update(); }).number, data_error::kNoCurrentRow);
    EXPECT_EQ(cars.Value("Name"), Variant("Gone"));
    cars.MoveNext();
    EXPECT_EQ(cars.Value("Name"), Variant("Bee"));
}

TEST_F(ARecordset, RefusesToChangeRowsWithoutOneTableAndKey) {
    for (const std::string source :
         {"SELECT Name FROM Cars", "SELECT COUNT(ID) AS ID FROM Cars",
          "SELECT ID, Name || '!' AS Name FROM Cars", "SELECT a.ID, t.name FROM Cars a, sqlite_schema t"}) {
        Recordset recordset(connection, source);
        recordset.Open();
        for (const auto& change : std::vector<std::function<void()>>{[&] { recordset.AddNew(); },
                                                                     [&] { recordset.Value("Name", "x"); }})
            EXPECT_EQ(ThrownBy(change).number, data_error::kNotUpdatable) << source;
    }
}

TEST_F(ARecordset, LeavesNoLockBehindItsRows) {
    cars.MoveFirst();
    const auto other = Connect();
    other->Execute("UPDATE Cars SET Name = 'Ape' WHERE ID = 1; PRAGMA wal_checkpoint(TRUNCATE)");
    EXPECT_EQ(other->Scalar("PRAGMA wal_checkpoint(TRUNCATE)"), Variant(0));
    EXPECT_EQ(cars.Value("Name"), Variant("Ant"));
}

TEST_F(ARecordset, IsClosedWithItsConnection) {
    cars.MoveFirst();
    connection->Close();
    EXPECT_FALSE(cars.IsOpen());
    EXPECT_EQ(ThrownBy([&] { cars.RecordCount(); }).number, data_error::kObjectClosed);
    EXPECT_EQ(ThrownBy([&] { cars.Value("ID"); }).number, data_error::kObjectClosed);
    EXPECT_EQ(ThrownBy([&] { cars.AddNew(); }).number, data_error::kObjectClosed);
    cars.Open();
    EXPECT_EQ(cars.RecordCount(), 3);
}

TEST_F(ARecordset, FailsOnColumnsThatAnotherProgramAddsUntilItIsOpenedAnew) {
    Recordset all(connection, "SELECT Cars.* FROM Cars");
    all.Open();
    Connect()->Execute("ALTER TABLE Cars ADD COLUMN Colour TEXT");
    EXPECT_EQ(ThrownBy([&] { all.MoveFirst(); }).number, data_error::kStatementFailed);
    all.Close();
    all.Open();
    EXPECT_EQ(all.Value("Colour"), Variant(Null()));
}

}  // namespace
}  // namespace pellago::test
