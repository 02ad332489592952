#include "app/main/start_entry.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "infra/process_objects.h"
#include "platform/files/program.h"
#include "platform/registry/registry.h"
#include "support/support.h"

namespace pellago {
namespace {

using testing::HasSubstr;

constexpr const char* kRun = R"(Software\Microsoft\Windows\CurrentVersion\Run)";
constexpr const char* kRunOnce = R"(Software\Microsoft\Windows\CurrentVersion\RunOnce)";

/// For a user who was never here.
class AStartEntry : public testing::Test {
protected:
    AStartEntry() {
        CreateProcessObjects();
        UseErrorDialog([this](const std::string& report, const std::string&) {
            report_ = report;
            return 0;
        });
    }
    ~AStartEntry() override { UseErrorDialog(nullptr); }

    static std::string Value(const std::string& name, const char* key = kRun) {
        const auto value = RegQueryValueEx(HKEY_CURRENT_USER, key, name);
        return value ? value->Text().value_or("no text") : "none";
    }
    std::string Mirror(const std::string& name) const {
        const auto file = folder_ / ("config/autostart/" + name + ".desktop");
        return std::filesystem::exists(file) ? test::ReadFile(file) : "none";
    }

    test::TempDir folder_;
    std::string report_;

private:
    test::EnvVar home_{"PELLAGO_HOME", folder_ / "home"};
    test::EnvVar config_{"XDG_CONFIG_HOME", folder_ / "config"};
};

TEST_F(AStartEntry, IsAValueThatTheAutostartFolderMirrors) {
    RunAtStartUp(StartEntryMode::kAlways, "  Corvane ", "  \"/opt/a b/pellagod\" /background");
    EXPECT_EQ(Value("Corvane "), "\"/opt/a b/pellagod\" /background");
    EXPECT_THAT(Mirror("Corvane "), HasSubstr("\nExec=\"/opt/a b/pellagod\" \"/background\"\n"));
    RunAtStartUp(StartEntryMode::kDelete, "Corvane ", "");
    EXPECT_EQ(Value("Corvane "), "none");
    EXPECT_EQ(Mirror("Corvane "), "none");

    RunAtStartUp(StartEntryMode::kOnce, " ", " ");
    EXPECT_EQ(Value("Pellago", kRunOnce), ProgramPath());
    EXPECT_EQ(Mirror("Pellago"), "none");
    RunAtStartUp(static_cast<StartEntryMode>(7), "", "");
    EXPECT_EQ(Value("Pellago"), ProgramPath());
    EXPECT_THAT(Mirror("Pellago"), HasSubstr("\nExec=\"" + ProgramPath() + "\"\n"));
    EXPECT_EQ(report_, "");
}

// Else the session would go on starting, or not, what the settings say otherwise.
TEST_F(AStartEntry, MirrorsWhatTheRegistryHoldsWhereThatCannotBeChanged) {
    RunAtStartUp(StartEntryMode::kAlways, "Old", "/bin/true");
    const auto lock = folder_ / "config/quenlith/user.reg.lock";
    std::filesystem::remove(lock);
    std::filesystem::create_directory(lock);
    RunAtStartUp(StartEntryMode::kDelete, "Old", "");
    EXPECT_EQ(Value("Old"), "/bin/true");
    EXPECT_THAT(Mirror("Old"), HasSubstr("/bin/true"));
}

TEST_F(AStartEntry, WritesTextsNumbersAndBytesOfAKeyThatIsThere) {
    const auto set = [](const Variant& value) {
        return SetRegistryValue(HKEY_CURRENT_USER, kRun, "x", value);
    };
    const auto value = [] { return *RegQueryValueEx(HKEY_CURRENT_USER, kRun, "x"); };
    EXPECT_FALSE(set("a"));
    EXPECT_FALSE(set(1.5));
    EXPECT_FALSE(DeleteRegistryValue(HKEY_CURRENT_USER, kRun, "x"));
    EXPECT_EQ(report_, "");
    RegCreateKeyEx(HKEY_CURRENT_USER, kRun);
    EXPECT_TRUE(set("\u00e4"));
    EXPECT_EQ(value(), RegistryValue::FromText("\u00e4"));
    EXPECT_TRUE(set(-2));
    EXPECT_EQ(value(), RegistryValue::FromNumber(-2));
    EXPECT_TRUE(set(Bytes{0, 255}));
    EXPECT_EQ(value(), (RegistryValue{REG_BINARY, {0, 255}}));

    EXPECT_FALSE(set(true));
    EXPECT_THAT(report_, HasSubstr("1001"));
    EXPECT_THAT(report_, HasSubstr("Unsupported value type"));
    EXPECT_THAT(report_, HasSubstr("Corvane.modAddtoStartUp.SetRegistryValue"));
    EXPECT_EQ(value().type, REG_BINARY);
    EXPECT_TRUE(DeleteRegistryValue(HKEY_CURRENT_USER, kRun, "x"));
}

}  // namespace
}  // namespace pellago
