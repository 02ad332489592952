#include "store/de1.h"

#include <gmock/gmock.h>

#include <list>

#include "infra/process_objects.h"
#include "store/database_file.h"
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

TEST_F(TheDataEnvironment, UsesTheFileThatTheSettingNamesAndNeverMakesIt) {
    const auto other = folder / "other.mdb";
    gAppSettings->SaveSetting("Settings", "RSSDS", other);
    const auto thrown = ThrownBy([&] { DE1().Recordsets("rsAllChannels")->Open(); });
    EXPECT_EQ(thrown.number, data_error::kFileMissing);
    EXPECT_THAT(thrown.text, AllOf(HasSubstr("other.mdb"), HasSubstr("RSSDS")));
    EXPECT_FALSE(std::filesystem::exists(other));

    CreateDatabase(other);
    DE1().CnnRSS()->Execute("INSERT INTO Providers (Provider) VALUES (NULL)");
    EXPECT_EQ(Setting(), other);
    EXPECT_FALSE(std::filesystem::exists(database));
    EXPECT_EQ(DE1(other).CnnRSS()->Scalar("SELECT COUNT(*) FROM Providers"), Variant(1));
}

TEST_F(TheDataEnvironment, TouchesNoSettingForADatabaseOfItsOwn) {
    CreateDatabase(folder / "mine.mdb");
    DE1(folder / "mine.mdb").CnnRSS()->Open();
    EXPECT_EQ(Setting(), "none");
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

TEST_F(TheDataEnvironment, IsMadeOnceWhenManyProcessesStart) {
    std::list<Child> children;
    for (int child = 0; child < 6; ++child)
        children.emplace_back(
            [] { DE1().CnnRSS()->Execute("INSERT INTO Providers (Provider) VALUES ('mine')"); });
    for (auto& child : children) EXPECT_EQ(child.Wait(), 0);
    EXPECT_EQ(DE1().CnnRSS()->Scalar("SELECT COUNT(*) FROM Providers"), Variant(6));
}

}  // namespace
}  // namespace pellago::test
