#include "platform/registry.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <new>
#include <thread>

#include "platform/registry_text.h"
#include "support/support.h"

namespace pellago {
namespace {

using test::ReadFile;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using namespace std::string_literals;
namespace fs = std::filesystem;

const std::string kKey = "Software\\QUENLITH\\CORVANE\\Settings";

RegResult Save(const std::string& name, const RegistryValue& value, const std::string& key = kKey) {
    const auto made = RegCreateKeyEx(HKEY_CURRENT_USER, key);
    return made == RegResult::kSuccess ? RegSetValueEx(HKEY_CURRENT_USER, key, name, value) : made;
}

std::optional<std::string> TextOf(const std::string& name, const std::string& key = kKey) {
    const auto value = RegQueryValueEx(HKEY_CURRENT_USER, key, name);
    return value ? value->Text() : std::nullopt;
}

/// Runs `work` in a process of its own.
pid_t Fork(const std::function<void()>& work) {
    const auto child = fork();
    if (child == 0) {
        work();
        _exit(0);
    }
    return child;
}

class ARegistry : public testing::Test {
protected:
    std::vector<std::string> FilesNamedLike(const std::string& part) const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder_ / "quenlith"))
            if (entry.path().filename().string().find(part) != std::string::npos)
                found.push_back(entry.path().string());
        return found;
    }

    void PutFile(const std::string& bytes) const {
        fs::create_directories(folder_ / "quenlith");
        WriteFile(file_, bytes);
    }

    test::TempDir folder_;
    test::EnvVar config_home_{"XDG_CONFIG_HOME", folder_.Path().string()};
    std::string file_ = folder_ / "quenlith/user.reg";
};

TEST(RegistryText, LosesNothingOnTheWayThroughTheFile) {
    RegistryNode registry;
    auto& key = registry.Make("HKEY_CURRENT_USER\\Software\\a]b [c]\\\xC3\xA4");
    int number = 0;
    for (const auto& text :
         {""s, "plain"s, "two\nlines\r\nand\rthree"s, "\"quoted\" C:\\folder\\"s, "nul\0inside"s,
          "not \xFF\xC0 utf-8"s, "\xEF\xBB\xBFmark"s, "\x1B[31m\t"s, "dword:00000001"s, " @=; [x] "s})
        key.SetValue("text " + std::to_string(++number), RegistryValue::FromText(text));
    for (const std::int32_t value : {0, -1, 305419896})
        key.SetValue("number " + std::to_string(value), RegistryValue::FromNumber(value));
    key.SetValue("", RegistryValue::FromText("default"));
    key.SetValue("a\"name\\with\nall\"=", {REG_BINARY, Bytes(300, 0xAB)});
    key.SetValue("expandable", {REG_EXPAND_SZ, {'%', 0, 'x', 0, 0, 0}});
    key.SetValue("short number", {REG_DWORD, {1, 2}});
    key.SetValue("text without end", {REG_SZ, {'x'}});
    key.SetValue("text of nothing", {REG_SZ, {}});
    key.SetValue("unknown type", {0xFFFFFFFF, {1}});
    key.SetValue("no bytes", {REG_BINARY, {}});

    const auto read = ParseRegistry(RegistryText(registry));

    ASSERT_EQ(read.damaged_line, 0U);
    const auto* key_read = read.registry.Find("HKEY_CURRENT_USER\\Software\\a]b [c]\\\xC3\xA4");
    ASSERT_NE(key_read, nullptr);
    ASSERT_THAT(key_read->Values(), SizeIs(key.Values().size()));
    for (std::size_t at = 0; at < key.Values().size(); ++at) {
        EXPECT_EQ(key_read->Values()[at].name, key.Values()[at].name);
        EXPECT_EQ(key_read->Values()[at].value, key.Values()[at].value) << key.Values()[at].name;
    }
}

TEST(RegistryText, ReadsWhatOthersExport) {
    const auto read = ParseRegistry(
        "\xEF\xBB\xBFREGEDIT4\r\n\r\n; a remark\r\n[HKEY_CURRENT_USER\\Software]\r\n@=\"default\"\r\n"
        "\"Lines\"=\"one\r\ntwo\"\r\n\"Bytes\"=hex:01,\\\r\n  ff, \\\r\n  0a\r\n\"Short\" = dword:1f\r\n"
        "[HKEY_LOCAL_MACHINE\\X]\r\n[hkey_current_user\\SOFTWARE]\r\n\"lines\"=\"three\"");
    ASSERT_EQ(read.damaged_line, 0U);
    ASSERT_THAT(read.registry.Subkeys(), SizeIs(2));
    const auto* key = read.registry.Find("HKEY_CURRENT_USER\\Software");
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(*key->Value(""), RegistryValue::FromText("default"));
    EXPECT_EQ(*key->Value("LINES"), RegistryValue::FromText("three"));
    EXPECT_EQ(key->Values()[1].name, "Lines");
    EXPECT_EQ(key->Value("Bytes")->data, (Bytes{1, 0xFF, 0x0A}));
    EXPECT_EQ(key->Value("Short")->Number(), 31);
}

TEST(RegistryText, TellsTheLineOfEveryDamage) {
    const std::string head = "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\S]\n";
    std::string too_deep = "[HKEY_CURRENT_USER";
    for (int level = 0; level < 600; ++level) too_deep += "\\k";
    for (const auto& line :
         {"\"x\"=\"cut off"s, "\"x\"=\"wrong \\escape\""s, "\"x\"=\"nul\0\""s, "\"x\""s, "\"x\"="s, "x=1"s,
          "\"x\"=dword:"s, "\"x\"=dword:123456789"s, "\"x\"=dword:-1"s, "\"x\"=hex:1,"s, "\"x\"=hex:1,\\"s,
          "\"x\"=hex:100"s, "\"x\"=hex(:1"s, "\"x\"=\"a\" b"s, "[HKEY_CURRENT_USER"s, "[]"s, "[x] y"s,
          "\xFF\xFE"s, too_deep + "]"})
        EXPECT_EQ(ParseRegistry(head + line).damaged_line, 3U) << line;
    EXPECT_EQ(ParseRegistry("<html>").damaged_line, 1U);
    EXPECT_EQ(ParseRegistry("REGEDIT4\n\"value before any key\"=\"\"").damaged_line, 2U);
    EXPECT_EQ(ParseRegistry("").damaged_line, 0U);
}

TEST_F(ARegistry, IsAFileInThePublishedForm) {
    Save("Name", RegistryValue::FromText("C:\\a \"b\""));
    Save("True", RegistryValue::FromNumber(-1));
    Save("Bytes", {REG_BINARY, {1, 0xFF}});
    EXPECT_EQ(
        ReadFile(file_),
        "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER]\n\n[HKEY_CURRENT_USER\\Software]\n\n"
        "[HKEY_CURRENT_USER\\Software\\QUENLITH]\n\n[HKEY_CURRENT_USER\\Software\\QUENLITH\\CORVANE]\n\n"
        "[HKEY_CURRENT_USER\\Software\\QUENLITH\\CORVANE\\Settings]\n\"Name\"=\"C:\\\\a \\\"b\\\"\"\n"
        "\"True\"=dword:ffffffff\n\"Bytes\"=hex:01,ff\n");
    EXPECT_THAT(FilesNamedLike(".new"), IsEmpty());
}

TEST_F(ARegistry, TakesNamesWithoutRegardToCaseAndKeepsTheirFirstWritingAndOrder) {
    Save("hWnd", RegistryValue::FromText("1"), "Software\\QUENLITH\\\xC3\x84");
    Save("Second", RegistryValue::FromText("2"), "Software\\Quenlith\\\xC3\xA4");
    Save("HWND", RegistryValue::FromText("3"), "SOFTWARE\\quenlith\\\xC3\xA4");
    EXPECT_THAT(RegEnumValues(HKEY_CURRENT_USER, "software\\QuenlitH\\\xC3\x84"),
                Optional(ElementsAre("hWnd", "Second")));
    EXPECT_EQ(TextOf("hwnd", "Software\\Quenlith\\\xC3\xA4"), "3");
    EXPECT_THAT(ReadFile(file_), HasSubstr("Software\\QUENLITH\\\xC3\x84]"));
}

TEST_F(ARegistry, DeletesValuesAndKeysWithoutSubkeys) {
    Save("a", RegistryValue::FromText("1"));
    Save("b", RegistryValue::FromText("2"));
    EXPECT_EQ(RegDeleteValue(HKEY_CURRENT_USER, kKey, "A"), RegResult::kSuccess);
    EXPECT_EQ(RegDeleteValue(HKEY_CURRENT_USER, kKey, "A"), RegResult::kFileNotFound);
    EXPECT_EQ(RegDeleteKey(HKEY_CURRENT_USER, "Software\\QUENLITH"), RegResult::kAccessDenied);
    EXPECT_EQ(TextOf("b"), "2");
    EXPECT_EQ(RegDeleteKey(HKEY_CURRENT_USER, kKey + "\\"), RegResult::kSuccess);
    EXPECT_EQ(RegDeleteKey(HKEY_CURRENT_USER, kKey), RegResult::kFileNotFound);
    EXPECT_EQ(RegDeleteKey(HKEY_CURRENT_USER, ""), RegResult::kInvalidParameter);
    EXPECT_EQ(RegEnumValues(HKEY_CURRENT_USER, kKey), std::nullopt);
    EXPECT_EQ(RegSetValueEx(HKEY_CURRENT_USER, kKey, "x", {}), RegResult::kFileNotFound);
}

TEST_F(ARegistry, RefusesNamesThatItsFileCannotHold) {
    EXPECT_EQ(RegCreateKeyEx(HKEY_CURRENT_USER, "Software\\a\nb"), RegResult::kInvalidParameter);
    EXPECT_EQ(RegCreateKeyEx(HKEY_CURRENT_USER, std::string(256, 'x')), RegResult::kInvalidParameter);
    EXPECT_EQ(RegCreateKeyEx(0, "Software"), RegResult::kInvalidParameter);
    EXPECT_EQ(Save("nul\0"s, {}), RegResult::kInvalidParameter);
    EXPECT_EQ(Save("\xFF", {}), RegResult::kInvalidParameter);
}

TEST_F(ARegistry, TwoProcessesWritingAtOnceLoseNothing) {
    constexpr int kWrites = 60;
    const auto write = [](const std::string& who) {
        return Fork([who] {
            for (int n = 0; n < kWrites; ++n) Save(who + std::to_string(n), RegistryValue::FromText(who));
        });
    };
    for (const auto child : {write("a"), write("b")}) waitpid(child, nullptr, 0);
    EXPECT_THAT(RegEnumValues(HKEY_CURRENT_USER, kKey), Optional(SizeIs(2 * kWrites)));
}

TEST_F(ARegistry, AKillInTheMiddleOfAWriteLeavesWhatWasWrittenBefore) {
    void* shared =
        mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto* acknowledged = new (shared) std::atomic<int>(0);  // owned by the mapping
    Save("Big", RegistryValue::FromText(std::string(100'000, 'x')));
    for (int round = 0; round < 10; ++round) {
        const int before = *acknowledged;
        const auto child = Fork([acknowledged] {
            while (Save("Count", RegistryValue::FromNumber(*acknowledged + 1)) == RegResult::kSuccess)
                ++*acknowledged;
        });
        while (*acknowledged < before + 3) std::this_thread::sleep_for(std::chrono::microseconds(100));
        std::this_thread::sleep_for(std::chrono::microseconds(300 * round));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);

        ASSERT_EQ(ParseRegistry(ReadFile(file_)).damaged_line, 0U);
        ASSERT_THAT(TextOf("Big"), Optional(SizeIs(100'000)));
        const auto count = RegQueryValueEx(HKEY_CURRENT_USER, kKey, "Count");
        ASSERT_TRUE(count);
        ASSERT_GE(count->Number(), acknowledged->load());
        *acknowledged = *count->Number();
    }
    munmap(shared, sizeof(std::atomic<int>));
}

TEST_F(ARegistry, SetsADamagedFileAsideAndSaysSoOnce) {
    const std::string damaged = "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\S]\n\"x\"=\"tr";
    PutFile(damaged);
    testing::internal::CaptureStderr();
    EXPECT_EQ(TextOf("x", "S"), std::nullopt);
    EXPECT_EQ(Save("y", RegistryValue::FromText("1"), "S"), RegResult::kSuccess);
    EXPECT_EQ(TextOf("y", "S"), "1");
    const auto said = testing::internal::GetCapturedStderr();

    const auto aside = FilesNamedLike("user.reg.damaged-");
    ASSERT_THAT(aside, SizeIs(1));
    EXPECT_EQ(ReadFile(aside[0]), damaged);
    EXPECT_EQ(said, file_ + ", line 3: the settings file is damaged and was renamed to " + aside[0] + "\n");

    PutFile("garbage");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Save("z", RegistryValue::FromText("1"), "S"), RegResult::kSuccess);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(FilesNamedLike("user.reg.damaged-"), SizeIs(2));
}

TEST_F(ARegistry, LeavesALinkedFileLinkedAndItsRightsAsTheyAre) {
    fs::create_directories(folder_ / "quenlith");
    fs::create_directories(folder_ / "dotfiles");
    fs::create_symlink("../dotfiles/corvane.reg", file_);
    EXPECT_EQ(Save("x", RegistryValue::FromText("1")), RegResult::kSuccess);
    const auto target = folder_ / "dotfiles/corvane.reg";
    ASSERT_EQ(chmod(target.c_str(), 0640), 0);
    EXPECT_EQ(Save("x", RegistryValue::FromText("2")), RegResult::kSuccess);

    EXPECT_TRUE(fs::is_symlink(file_));
    EXPECT_THAT(ReadFile(target), HasSubstr("\"x\"=\"2\""));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
}

TEST_F(ARegistry, WritesFailWhereItsFileCannotBeRead) {
    fs::create_directories(file_);
    EXPECT_EQ(TextOf("x"), std::nullopt);
    EXPECT_EQ(Save("x", RegistryValue::FromText("1")), RegResult::kAccessDenied);
    EXPECT_TRUE(fs::is_directory(file_));
    fs::remove(file_);
    fs::create_symlink("user.reg", file_);
    EXPECT_EQ(Save("x", RegistryValue::FromText("1")), RegResult::kAccessDenied);
    EXPECT_TRUE(fs::is_symlink(file_));
    WriteFile(folder_ / "file", "");
    const test::EnvVar no_folder("XDG_CONFIG_HOME", folder_ / "file");
    EXPECT_EQ(Save("x", RegistryValue::FromText("1")), RegResult::kAccessDenied);
}

}  // namespace
}  // namespace pellago
