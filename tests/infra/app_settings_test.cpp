#include "infra/app_settings.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "platform/process.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago {
namespace {

using test::Thrown;
using test::ThrownBy;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

Thrown Expected(std::uint32_t number, const std::string& class_name, const std::string& description) {
    return {static_cast<std::int32_t>(number), description, ProgramName() + "." + class_name};
}

class Settings : public testing::Test {
protected:
    Settings() { settings_.Init("QUENLITH", "CORVANE"); }

    test::TempDir folder_;
    test::EnvVar config_home_{"XDG_CONFIG_HOME", folder_.Path().string()};
    CAppSettings settings_;
};

TEST_F(Settings, KeepBooleansAsNumbersAndAllElseAsText) {
    settings_.SaveSetting("Settings", "True", true);
    settings_.SaveSetting("Settings", "False", false);
    settings_.SaveSetting("Settings", "Number", 30);
    settings_.SaveSetting("Settings", "Half", 0.5);
    settings_.SaveSetting("Settings", "Empty", std::string());
    settings_.SaveSetting("Settings", "Date", ComposeDate(2024, 2, 29, 12, 0, 1));
    const Variant fallback = std::string("default");
    EXPECT_EQ(settings_.GetSetting("settings", "TRUE", fallback), Variant(-1));
    EXPECT_EQ(settings_.GetSetting("Settings", "False", fallback), Variant(0));
    EXPECT_EQ(settings_.GetSetting("Settings", "Number", fallback), Variant(std::string("30")));
    EXPECT_EQ(settings_.GetSetting("Settings", "Half", fallback), Variant(std::string("0.5")));
    EXPECT_EQ(settings_.GetSetting("Settings", "Empty", fallback), Variant(std::string()));
    EXPECT_EQ(settings_.GetSetting("Settings", "Date", fallback),
              Variant(DefaultText(ComposeDate(2024, 2, 29, 12, 0, 1))));
    EXPECT_THAT(settings_.GetAllKeys("Settings"),
                ElementsAre("True", "False", "Number", "Half", "Empty", "Date"));
}

TEST_F(Settings, AnswerTheDefaultForWhatIsNotThereOrOfAnotherType) {
    EXPECT_EQ(settings_.GetSetting("Settings", "x", Null()), Variant(Null()));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "quenlith"));
    const std::string key = "Software\\QUENLITH\\CORVANE\\Settings";
    RegCreateKeyEx(HKEY_CURRENT_USER, key);
    for (const auto type : {REG_BINARY, REG_EXPAND_SZ, REG_DWORD}) {
        RegSetValueEx(HKEY_CURRENT_USER, key, "x", {type, {'a', 0}});
        EXPECT_EQ(settings_.GetSetting("Settings", "x", 7), Variant(7)) << type;
    }
}

TEST_F(Settings, OfTwoInstancesOnOneBranchAreTheSame) {
    CAppSettings sibling;
    sibling.Init("Quenlith", "Corvane");
    sibling.SaveSetting("Windows settings\\frmMain", "Left", 12);
    EXPECT_EQ(settings_.GetSetting("windows settings\\frmmain", "left", 0), Variant(std::string("12")));
    EXPECT_THAT(settings_.GetAllKeys("Windows settings"), IsEmpty());
    EXPECT_THAT(test::ReadFile(folder_ / "quenlith/user.reg"),
                HasSubstr("[HKEY_CURRENT_USER\\Software\\Quenlith\\Corvane\\Windows settings\\frmMain]"));
}

TEST_F(Settings, RejectValuesThatAreNotValidAndKeepTheOldOnes) {
    EXPECT_EQ(ThrownBy([&] { settings_.AppName(""); }),
              Expected(0x8004427D, "CAppSettings", "Invalid AppName value"));
    EXPECT_EQ(ThrownBy([&] { settings_.Init("", "Other"); }),
              Expected(0x8004427E, "CAppSettings", "Invalid CompanyName value"));
    EXPECT_EQ(ThrownBy([&] { settings_.MainBranch(""); }),
              Expected(0x8004427F, "CAppSettings", "Invalid MainBranch value"));
    for (const auto root : {0x80000000, 0x80000003, 0U})
        EXPECT_EQ(ThrownBy([&] { settings_.RootKey(static_cast<std::int32_t>(root)); }),
                  Expected(0x80044280, "CAppSettings", "Invalid root key value"));
    EXPECT_EQ(settings_.AppName(), "CORVANE");
    EXPECT_EQ(settings_.CompanyName(), "QUENLITH");
    EXPECT_EQ(settings_.MainBranch(), "Software");
    EXPECT_EQ(settings_.RootKey(), HKEY_CURRENT_USER);
    settings_.RootKey(HKEY_LOCAL_MACHINE);
    EXPECT_EQ(settings_.RootKey(), HKEY_LOCAL_MACHINE);
}

TEST_F(Settings, TellFailedOperationsFromThoseNotExpected) {
    EXPECT_EQ(ThrownBy([&] { settings_.GetAllKeys("none"); }),
              Expected(0x80044283, "CAppSetting", "Failed getting all the application keys"));
    EXPECT_EQ(ThrownBy([&] { settings_.DeleteSetting("none", ""); }),
              Expected(0x80044282, "CAppSetting", "Failed deleting the application setting"));
    EXPECT_EQ(ThrownBy([&] { settings_.SaveSetting("Settings", "x", Null()); }),
              Expected(0x80044284, "CAppSettings", "CAppSettings component failure"));
    std::filesystem::remove_all(folder_ / "quenlith");
    test::WriteFile(folder_ / "quenlith", "");
    EXPECT_EQ(ThrownBy([&] { settings_.SaveSetting("Settings", "x", 1); }),
              Expected(0x80044281, "CAppSetting", "Failed saving the application setting"));
}

TEST_F(Settings, DeleteASectionWithoutSubsectionsOrOneValue) {
    settings_.SaveSetting("A", "x", 1);
    settings_.SaveSetting("A", "y", 1);
    settings_.SaveSetting("A\\B", "z", 1);
    settings_.DeleteSetting("A", "X");
    EXPECT_THAT(settings_.GetAllKeys("A"), ElementsAre("y"));
    EXPECT_EQ(ThrownBy([&] { settings_.DeleteSetting("A", ""); }).text,
              "Failed deleting the application setting");
    settings_.DeleteSetting("A\\B", "");
    settings_.DeleteSetting("A", "");
    EXPECT_EQ(ThrownBy([&] { settings_.GetAllKeys("A"); }).source, ProgramName() + ".CAppSetting");
}

}  // namespace
}  // namespace pellago
