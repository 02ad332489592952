#include "store/de1.h"

#include <gmock/gmock.h>

#include <optional>

#include "infra/process_objects.h"
#include "store/schema.h"
#include "support/child.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class TheDataEnvironment : public testing::Test {
protected:
    TheDataEnvironment() { CreateProcessObjects(); }
    ~TheDataEnvironment() override { UseErrorDialog({}); }

    static std::string Setting() { return CStr(gAppSettings->GetSetting("Settings", "RSSDS", "none")); }

    TempDir folder;
    EnvVar home{"PELLAGO_HOME", folder.Path().string()};
    EnvVar config{"XDG_CONFIG_HOME", folder.Path().string()};
    const std::string database = folder / "RSS.MDB";
};

TEST_F(TheDataEnvironment, MakesTheDefaultDatabaseAndWritesItsSetting) {
    const DE1 environment;
    environment.Recordsets("rsAllProviders")->Open();
    EXPECT_EQ(environment.CnnRSS()->DataSource(), database);
    EXPECT_EQ(Setting(), database);
}

TEST_F(TheDataEnvironment, UsesTheFileThatTheSettingNames) {
    CreateDatabase(folder / "other.mdb");
    gAppSettings->SaveSetting("Settings", "RSSDS", folder / "other.mdb");
    const DE1 environment;
    environment.CnnRSS()->Execute("INSERT INTO Providers (Provider) VALUES (NULL)");
    EXPECT_EQ(Setting(), folder / "other.mdb");
    EXPECT_FALSE(std::filesystem::exists(database));
    EXPECT_EQ(DE1(folder / "other.mdb").CnnRSS()->Scalar("SELECT COUNT(*) FROM Providers"), Variant(1));
}

TEST_F(TheDataEnvironment, NeverMakesAFileThatTheSettingNamesElsewhere) {
    gAppSettings->SaveSetting("Settings", "RSSDS", folder / "gone.mdb");
    const DE1 environment;
    const auto thrown = ThrownBy([&] { environment.Recordsets("rsAllChannels")->Open(); });
    EXPECT_EQ(thrown.number, data_error::kFileMissing);
    EXPECT_THAT(thrown.text, HasSubstr("gone.mdb"));
    EXPECT_THAT(thrown.text, HasSubstr("RSSDS"));
    EXPECT_FALSE(std::filesystem::exists(folder / "gone.mdb"));
}

TEST_F(TheDataEnvironment, TouchesNoSettingForADatabaseOfItsOwn) {
    CreateDatabase(folder / "mine.mdb");
    DE1(folder / "mine.mdb").CnnRSS()->Open();
    EXPECT_EQ(Setting(), "none");
    EXPECT_EQ(ThrownBy([&] { DE1(folder / "missing.mdb").CnnRSS()->Open(); }).number,
              data_error::kFileMissing);
}

TEST_F(TheDataEnvironment, OpensTheDefaultDatabaseWhenTheSettingsFail) {
    std::vector<std::string> reports;
    UseErrorDialog([&](const std::string& report, const std::string&) {
        reports.push_back(report);
        return 0;
    });
    WriteFile(folder / "quenlith", "a file where the registry has its folder");
    const DE1 environment;
    environment.CnnRSS()->Open();
    EXPECT_EQ(environment.CnnRSS()->DataSource(), database);
    EXPECT_THAT(reports, ElementsAre(HasSubstr("Corvane.DE1.CnnRSS_WillConnect")));
}

TEST_F(TheDataEnvironment, RunsEveryCommandButTheOneWithAColumnThatIsNotThere) {
    const DE1 environment;
    for (const std::string name :
         {"AllProviders", "AllChannels", "CmdSearchNews", "DownloadSessions", "DownloadLog",
          "ViewDownloadLog", "News", "UpdateNews", "cmdSeachChannel", "cmdSearchItemByLink",
          "cmdFullSearchItem", "cmdAddItem", "cmdUpdateItem", "cmdAddChannel", "cmdSeachProvider",
          "cmdUnreadNewsCount", "cmdMarkItemAsRead", "ViewLog"})
        EXPECT_EQ(ThrownBy([&] { environment.Commands(name)->Execute(); }).text, "") << name;
    EXPECT_THAT(ThrownBy([&] { environment.Commands("cmdAddProvider")->Execute(); }).text,
                HasSubstr("Home page"));
    for (const std::string name : {"rsAllProviders", "rsAllChannels", "rsDownloadSessions", "rsDownloadLog",
                                   "rsViewDownloadLog", "rsNews", "rsUpdateNews", "rsViewLog"})
        EXPECT_EQ(ThrownBy([&] { environment.Recordsets(name)->Open(); }).text, "") << name;
    EXPECT_EQ(ThrownBy([&] { environment.Commands("cmdaddItem"); }).number, data_error::kNoSuchItem);
    EXPECT_EQ(ThrownBy([&] { environment.Recordsets("rscmdSeachChannel"); }).number, data_error::kNoSuchItem);
    EXPECT_EQ((*environment.Commands("cmdAddItem"))["Description"].size, 10240);
    EXPECT_EQ((*environment.Commands("cmdUpdateItem"))["Description"].size, 510);
}

/// The number of items that the two look-ups find.
std::int32_t Found(const DE1& environment, const std::string& link, const std::string& title) {
    auto& by_link = *environment.Commands("cmdSearchItemByLink");
    by_link["Channel"].value = 1;
    by_link["Link"].value = link;
    auto& full = *environment.Commands("cmdFullSearchItem");
    full["Channel"].value = 1;
    full["Date"].value = ComposeDate(2020, 2, 29, 12);
    full["Title"].value = title;
    full["Description"].value = std::string("text");
    return by_link.Execute()->RecordCount() + full.Execute()->RecordCount();
}

void AddItem(const DE1& environment, const std::string& link, const std::string& title) {
    auto& add = *environment.Commands("cmdAddItem");
    add["Date"].value = ComposeDate(2020, 2, 29, 12);
    add["Title"].value = title;
    add["Description"].value = std::string("text");
    add["Link"].value = link;
    add["Channel"].value = 1;
    add["Guid"].value = std::string();
    add.Execute();
}

TEST_F(TheDataEnvironment, LooksItemsUpExactly) {
    const DE1 environment;
    AddItem(environment, "http://a/X", "Title 'ü'");
    AddItem(environment, "007", "12");
    EXPECT_EQ(Found(environment, "http://a/X", "Title 'ü'"), 2);
    EXPECT_EQ(Found(environment, "http://a/x", "title 'ü'"), 0);
    EXPECT_EQ(Found(environment, "http://a/X ", "Title 'Ü'"), 0);
    EXPECT_EQ(Found(environment, "007", "12"), 2);
    EXPECT_EQ(Found(environment, "7", "12.0"), 0);
}

TEST_F(TheDataEnvironment, AddsLogRowsWithoutReadingTheLog) {
    const DE1 environment;
    environment.CnnRSS()->Execute(
        "WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i + 1 FROM n LIMIT 20000)"
        " INSERT INTO DownloadLog (Session, Channel) SELECT 1, i FROM n");
    std::vector<std::string> statements;
    environment.CnnRSS()->OnStatement([&](std::string_view sql) { statements.emplace_back(sql); });
    const auto log = environment.Recordsets("rsDownloadLog");
    log->Open();
    for (const std::int32_t result : {4, 5}) {
        log->AddNew();
        log->Value("Session", 1);
        log->Value("Result", result);
        log->Value("Error", false);
        log->Update();
    }
    EXPECT_EQ(log->Value("id"), Variant(20002));
    EXPECT_THAT(statements, ElementsAre(HasSubstr("INSERT INTO"), HasSubstr("INSERT INTO")));
}

void StoreItems(const std::string& file, int count) {
    const DE1 environment(file);
    auto& connection = *environment.CnnRSS();
    for (int item = 0; item < count; ++item) {
        const auto name = std::to_string(item);
        connection.BeginWrites();
        if (Found(environment, name, name) == 0) AddItem(environment, name, name);
        if (item % 10 == 9) connection.CommitWrites();
    }
}

TEST_F(TheDataEnvironment, StoresNothingTwiceWhenTwoProcessesRun) {
    constexpr int kItems = 1000;
    CreateDatabase(database);
    Child first([&] { StoreItems(database, kItems); });
    Child second([&] { StoreItems(database, kItems); });
    EXPECT_TRUE(first.Succeeded());
    EXPECT_TRUE(second.Succeeded());
    const DE1 environment(database);
    EXPECT_EQ(environment.CnnRSS()->Scalar("SELECT COUNT(*) FROM News"), Variant(kItems));
}

TEST_F(TheDataEnvironment, IsMadeOnceWhenManyProcessesStart) {
    std::vector<std::unique_ptr<Child>> children;
    for (int child = 0; child < 6; ++child)
        children.push_back(std::make_unique<Child>(
            [] { DE1().CnnRSS()->Execute("INSERT INTO Providers (Provider) VALUES ('mine')"); }));
    for (const auto& child : children) EXPECT_TRUE(child->Succeeded());
    EXPECT_EQ(DE1().CnnRSS()->Scalar("SELECT COUNT(*) FROM Providers"), Variant(6));
}

}  // namespace
}  // namespace pellago::test
