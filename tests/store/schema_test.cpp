#include "store/schema.h"

#include <gmock/gmock.h>

#include <map>

#include "platform/data/recordset.h"
#include "store/database_file.h"
#include "store/de1.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

class ANewsDatabase : public testing::Test {
protected:
    ANewsDatabase() {
        CreateDatabase(path);
        connection->DataSource(path);
    }

    std::vector<std::string> Texts(const std::string& query, const std::string& column) {
        Recordset rows(connection, query);
        std::vector<std::string> texts;
        for (rows.Open(); !rows.Eof(); rows.MoveNext()) texts.push_back(CStr(rows.Value(column)));
        return texts;
    }
    std::vector<std::string> Files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
            names.push_back(entry.path().filename());
        return names;
    }

    TempDir folder;
    const std::string path = folder / "RSS.MDB";
    const std::shared_ptr<Connection> connection = std::make_shared<Connection>();
};

TEST_F(ANewsDatabase, IsMadeWholeAndAlone) {
    EXPECT_THAT(Files(), ElementsAre("RSS.MDB"));
    EXPECT_THAT(Texts("SELECT ID FROM ErrorMessages WHERE Message <> ''", "ID"),
                ElementsAre("3", "4", "5", "7", "9", "10"));
    connection->Execute(
        "INSERT INTO Channels (Channel) VALUES (NULL); INSERT INTO News (Title) VALUES ('t')");
    EXPECT_EQ(connection->Scalar("SELECT Active FROM Channels"), Variant(true));
    EXPECT_EQ(connection->Scalar("SELECT IsRead FROM News"), Variant(0));
    EXPECT_EQ(ThrownBy([&] { connection->Execute("UPDATE Channels SET Active = -1"); }).number,
              data_error::kConstraint);
    EXPECT_EQ(ThrownBy([&] { UpgradeSchema(*connection); }).number, 0);
}

TEST_F(ANewsDatabase, NeverTakesThePlaceOfAFile) {
    WriteFile(folder / "letter.txt", "Dear all");
    const auto thrown = ThrownBy([&] { CreateDatabase(folder / "letter.txt"); });
    EXPECT_EQ(thrown.number, kFileExists);
    EXPECT_THAT(thrown.text, HasSubstr("letter.txt"));
    EXPECT_EQ(ReadFile(folder / "letter.txt"), "Dear all");
    const auto unwritable = ThrownBy([&] { CreateDatabase(folder / "no/such/folder.mdb"); });
    EXPECT_EQ(unwritable.number, data_error::kNotWritable);
    EXPECT_THAT(unwritable.text, HasSubstr("folder.mdb"));
    EXPECT_EQ(Files().size(), 2U) << "no temporary file is left";
}

TEST_F(ANewsDatabase, IsRefusedWhenItsSchemaIsNewerOrItsTablesAreMissing) {
    connection->Execute("PRAGMA user_version = 3");
    const auto thrown = ThrownBy([&] { UpgradeSchema(*connection); });
    EXPECT_EQ(thrown.number, data_error::kNewerSchema);
    EXPECT_THAT(thrown.text, HasSubstr("newer version"));
    connection->Execute("PRAGMA user_version = 2; DROP TABLE News");
    EXPECT_EQ(ThrownBy([&] { UpgradeSchema(*connection); }).number, data_error::kNotADatabase);
    WriteFile(folder / "empty.db", "");
    Connection empty;
    empty.DataSource(folder / "empty.db");
    EXPECT_EQ(ThrownBy([&] { UpgradeSchema(empty); }).number, data_error::kNotADatabase);
    EXPECT_EQ(empty.Scalar("SELECT COUNT(*) FROM sqlite_schema"), Variant(0));
}

TEST_F(ANewsDatabase, IsCompletedWhenItCameFromADumpWithoutANumber) {
    connection->Execute(
        "INSERT INTO News (Title) VALUES ('kept'); DROP INDEX NewsLink;"
        "DELETE FROM ErrorMessages WHERE ID > 3; UPDATE ErrorMessages SET Message = 'mine'; PRAGMA "
        "user_version = 0");
    UpgradeSchema(*connection);
    EXPECT_EQ(connection->Scalar("PRAGMA user_version"), Variant(2));
    EXPECT_EQ(connection->Scalar("SELECT Title FROM News"), Variant("kept"));
    EXPECT_EQ(connection->Scalar("SELECT COUNT(*) || MIN(Message) FROM ErrorMessages"),
              Variant("6An error occurred while the items were stored."));
    EXPECT_EQ(connection->Scalar("SELECT COUNT(*) FROM sqlite_schema WHERE name = 'NewsLink'"), Variant(1));
    EXPECT_FALSE(connection->HoldsWrites());
}

// News and log rows outlive their channel; a new channel must not inherit them.
TEST_F(ANewsDatabase, NeverGivesTheIdOfADeletedChannelAgain) {
    for (const std::string table : {"Channels", "Providers", "DownloadSessions"}) {
        const auto add = "INSERT INTO " + table + " (ID) VALUES (NULL)";
        connection->Execute(add + ";" + add + "; DELETE FROM " + table + " WHERE ID = 2;" + add);
        EXPECT_THAT(Texts("SELECT ID FROM " + table, "ID"), ElementsAre("1", "3")) << table;
    }
}

TEST_F(ANewsDatabase, AnswersItsLookUpsFromIndexes) {
    const std::map<std::string, std::string> keys = {
        {"SELECT id FROM News WHERE Channel = ?1 AND Link = ?2", "(Channel=? AND Link=?)"},
        {"SELECT id FROM News WHERE Channel = ?1 AND pubDate = ?2 AND Title = ?3 AND Description = ?4",
         "(Channel=? AND pubDate=? AND Title=?)"},
        {"SELECT ID FROM Channels WHERE httpRSSFile = ?1", "(httpRSSFile=?)"},
        {"SELECT id FROM Providers WHERE Provider = ?1", "(Provider=?)"},
        // As the recordset over all channels asks for one provider's, or for one.
        {"SELECT * FROM (SELECT ID, Channel, Provider, Active FROM Channels) WHERE \"Provider\" = ?1 AND "
         "\"Active\" = ?2",
         "(Provider=?)"},
        {"SELECT * FROM (SELECT ID, Channel FROM Channels) WHERE \"ID\" = ?1", "(rowid=?)"},
    };
    for (const auto& [query, key] : keys)
        EXPECT_THAT(Texts("EXPLAIN QUERY PLAN " + query, "detail"),
                    ElementsAre(AllOf(HasSubstr("SEARCH"), HasSubstr(key))))
            << query;
    const auto log = DE1(path).Recordsets("rsViewLog")->Source();
    EXPECT_THAT(Texts("EXPLAIN QUERY PLAN " + log, "detail"),
                AllOf(SizeIs(3), Contains(HasSubstr("DownloadLogTime"))))
        << "no sorting";
    EXPECT_THAT(Texts("EXPLAIN QUERY PLAN SELECT * FROM (" + log + ") WHERE Channel = 'x'", "detail"),
                Contains(HasSubstr("DownloadLogChannel (Channel=?)")));
}

}  // namespace
}  // namespace pellago::test
