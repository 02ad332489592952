#include "infra/app_settings.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "platform/files/program.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago {
namespace {

using test::Thrown;
using test::ThrownBy;
using testing::ElementsAre;

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
    const auto date = ComposeDate(2024, 2, 29, 12, 0, 1);
    const struct {
        std::string name;
        Variant saved, read;
    } cases[] = {{"True", true, -1},
                 {"False", false, 0},
                 {"Number", 30, std::string("30")},
                 {"Half", 0.5, std::string("0.5")},
                 {"Empty", std::string(), std::string()},
                 {"Date", date, DefaultText(date)}};
    for (const auto& item : cases) {
        settings_.SaveSetting("Settings\\Inner", item.name, item.saved);
        CAppSettings sibling;
        sibling.Init("Quenlith", "Corvane");
        EXPECT_EQ(sibling.GetSetting("settings\\inner", item.name, "default"), item.read) << item.name;
    }
    EXPECT_THAT(settings_.GetAllKeys("Settings\\Inner"),
                ElementsAre("True", "False", "Number", "Half", "Empty", "Date"));
}

TEST_F(Settings, AnswerTheDefaultForWhatIsNotThereOrOfAnotherType) {
    EXPECT_EQ(settings_.GetSetting("Settings", "x", Null()), Variant(Null()));
    EXPECT_FALSE(std::filesystem::exists(folder_ / "quenlith"));
    const std::string key = "Software\\QUENLITH\\CORVANE\\Settings";
    RegCreateKeyEx(HKEY_CURRENT_USER, key);
    for (const auto type : {REG_BINARY, 2U, REG_DWORD}) {
        RegSetValueEx(HKEY_CURRENT_USER, key, "x", {type, {'a', 0}});
        EXPECT_EQ(settings_.GetSetting("Settings", "x", 7), Variant(7)) << type;
    }
}

TEST_F(Settings, LoseAValueOrAWholeSectionWhenTheyAreDeleted) {
    settings_.SaveSetting("Settings", "kept", 1);
    settings_.SaveSetting("Settings", "gone", 2);
    settings_.DeleteSetting("Settings", "gone");
    EXPECT_THAT(settings_.GetAllKeys("Settings"), ElementsAre("kept"));
    settings_.DeleteSetting("Settings", "");
    EXPECT_EQ(settings_.GetSetting("Settings", "kept", Null()), Variant(Null()));
}

TEST_F(Settings, RejectValuesThatAreNotValidAndKeepTheOldOnes) {
    EXPECT_EQ(ThrownBy([&] { settings_.AppName(""); }),
              Expected(0x8004427D, "CAppSettings", "Invalid AppName value"));
    EXPECT_EQ(ThrownBy([&] { settings_.Init("", "Other"); }),
              Expected(0x8004427E, "CAppSettings", "Invalid CompanyName value"));
    EXPECT_EQ(ThrownBy([&] { settings_.MainBranch(""); }),
              Expected(0x8004427F, "CAppSettings", "Invalid MainBranch value"));
    EXPECT_EQ(ThrownBy([&] { settings_.RootKey(0); }),
              Expected(0x80044280, "CAppSettings", "Invalid root key value"));
    EXPECT_EQ(settings_.CompanyName() + settings_.AppName() + settings_.MainBranch(),
              "QUENLITHCORVANESoftware");
    EXPECT_EQ(settings_.RootKey(), HKEY_CURRENT_USER);
}

TEST_F(Settings, TellFailedOperationsFromThoseNotExpected) {
    EXPECT_EQ(ThrownBy([&] { settings_.GetAllKeys("none"); }),
              Expected(0x80044283, "CAppSetting", "Failed getting all the application keys"));
    EXPECT_EQ(ThrownBy([&] { settings_.DeleteSetting("none", ""); }),
              Expected(0x80044282, "CAppSetting", "Failed deleting the application setting"));
    EXPECT_EQ(ThrownBy([&] { settings_.SaveSetting("Settings", "x", Null()); }),
              Expected(0x80044284, "CAppSettings", "CAppSettings component failure"));
    const test::EnvVar no_folder("XDG_CONFIG_HOME", "/dev/null");
    EXPECT_EQ(ThrownBy([&] { settings_.SaveSetting("Settings", "x", 1); }),
              Expected(0x80044281, "CAppSetting", "Failed saving the application setting"));
}

}  // namespace
}  // namespace pellago
