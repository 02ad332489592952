#include "platform/registry/registry.h"

#include <gmock/gmock.h>
#include <sys/mman.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <new>
#include <thread>

#include "platform/registry/registry_text.h"
#include "support/child.h"
#include "support/support.h"

namespace pellago {
namespace {

using test::Child;
using test::ReadFile;
using test::WriteFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Optional;
using testing::SizeIs;
using namespace std::string_literals;
using enum RegResult;
namespace fs = std::filesystem;

const std::string kKey = "Software\\QUENLITH\\CORVANE\\Settings";

RegResult Save(const std::string& name, const RegistryValue& value, const std::string& key = kKey) {
    const auto made = RegCreateKeyEx(HKEY_CURRENT_USER, key);
    return made == kSuccess ? RegSetValueEx(HKEY_CURRENT_USER, key, name, value) : made;
}

RegResult Save(const std::string& name, const std::string& text, const std::string& key = kKey) {
    return Save(name, RegistryValue::FromText(text), key);
}

std::optional<std::string> TextOf(const std::string& name, const std::string& key = kKey) {
    const auto value = RegQueryValueEx(HKEY_CURRENT_USER, key, name);
    return value ? value->Text() : std::nullopt;
}

class ARegistry : public testing::Test {
protected:
    ARegistry() { fs::create_directories(folder_ / "quenlith"); }

    std::vector<std::string> DamagedFiles() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder_ / "quenlith"))
            if (entry.path().string().starts_with(file_ + ".damaged-"))
                found.push_back(entry.path().string());
        return found;
    }

    test::TempDir folder_;
    test::EnvVar config_home_{"XDG_CONFIG_HOME", folder_.Path().string()};
    std::string file_ = folder_ / "quenlith/user.reg";
};

TEST(RegistryText, LosesNothingOnTheWayThroughTheFile) {
    const std::string path = "HKEY_CURRENT_USER\\Software\\a]b [c]\\\xC3\xA4";
    std::vector<RegistryValue> values = {{REG_BINARY, Bytes(300, 0xAB)},
                                         {2, {'%', 0, 'x', 0, 0, 0}},
                                         {REG_DWORD, {1, 2}},
                                         {REG_SZ, {'x'}},
                                         {REG_SZ, {}},
                                         {0xFFFFFFFF, {1}},
                                         {REG_BINARY, {}}};
    for (const auto& text :
         {""s, "plain"s, "two\nlines\r\nand\rthree"s, "\"quoted\" C:\\folder\\"s, "nul\0inside"s,
          "not \xFF\xC0 utf-8"s, "\xEF\xBB\xBFmark"s, "\x1B[31m\t"s, "dword:00000001"s, " @=; [x] "s})
        values.push_back(RegistryValue::FromText(text));
    for (const std::int32_t value : {0, -1, 305419896}) values.push_back(RegistryValue::FromNumber(value));
    RegistryNode registry;
    const auto name = [](std::size_t at) {
        return at == 0 ? "" : "a\"name\\with\nall\"=" + std::to_string(at);
    };
    for (std::size_t at = 0; at < values.size(); ++at) registry.Make(path).SetValue(name(at), values[at]);

    const auto read = ParseRegistry(RegistryText(registry));

    ASSERT_EQ(read.damaged_line, 0U);
    ASSERT_NE(read.registry.Find(path), nullptr);
    const auto& values_read = read.registry.Find(path)->Values();
    ASSERT_THAT(values_read, SizeIs(values.size()));
    for (std::size_t at = 0; at < values.size(); ++at) {
        EXPECT_EQ(values_read[at].name, name(at));
        EXPECT_EQ(values_read[at].value, values[at]) << at;
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

TEST_F(ARegistry, IsAFileInThePublishedFormWhoseNamesKeepTheirFirstWritingAndOrder) {
    const std::string key = "Software\\QUENLITH\\\u00c4";
    Save("Name", "old", key);
    Save("True", RegistryValue::FromNumber(-1), "SOFTWARE\\quenlith\\\u00e4");
    Save("Bytes", RegistryValue{REG_BINARY, {1, 0xFF}}, key);
    Save("NAME", "C:\\a \"b\"", key);
    EXPECT_EQ(ReadFile(file_),
              "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER]\n\n"
              "[HKEY_CURRENT_USER\\Software]\n\n[HKEY_CURRENT_USER\\Software\\QUENLITH]\n\n"
              "[HKEY_CURRENT_USER\\Software\\QUENLITH\\\u00c4]\n\"Name\"=\"C:\\\\a "
              "\\\"b\\\"\"\n\"True\"=dword:ffffffff\n\"Bytes\"=hex:01,ff\n");
    EXPECT_THAT(RegEnumValues(HKEY_CURRENT_USER, "software\\QuenlitH\\\u00e4"),
                Optional(ElementsAre("Name", "True", "Bytes")));
}

TEST_F(ARegistry, DeletesValuesAndKeysWithoutSubkeysAndRefusesNamesThatItsFileCannotHold) {
    Save("a", "1");
    Save("b", "2");
    EXPECT_EQ(RegDeleteValue(HKEY_CURRENT_USER, kKey, "A"), kSuccess);
    EXPECT_EQ(RegDeleteValue(HKEY_CURRENT_USER, kKey, "A"), kFileNotFound);
    EXPECT_EQ(RegDeleteKey(HKEY_CURRENT_USER, "Software\\QUENLITH"), kAccessDenied);
    EXPECT_EQ(TextOf("b"), "2");
    EXPECT_EQ(RegDeleteKey(HKEY_CURRENT_USER, kKey + "\\"), kSuccess);
    EXPECT_EQ(RegDeleteKey(HKEY_CURRENT_USER, kKey), kFileNotFound);
    EXPECT_EQ(RegSetValueEx(HKEY_CURRENT_USER, kKey, "x", {}), kFileNotFound);
    EXPECT_EQ(RegDeleteKey(HKEY_CURRENT_USER, ""), kInvalidParameter);
    EXPECT_EQ(RegCreateKeyEx(0, "Software"), kInvalidParameter);
    for (const auto& key : {"Software\\a\nb"s, std::string(256, 'x')})
        EXPECT_EQ(RegCreateKeyEx(HKEY_CURRENT_USER, key), kInvalidParameter) << key;
    for (const auto& name : {"nul\0"s, "\xFF"s}) EXPECT_EQ(Save(name, ""), kInvalidParameter) << name;
}

TEST_F(ARegistry, TwoProcessesWritingAtOnceLoseNothing) {
    constexpr int kWrites = 60;
    const auto write = [](const std::string& who) {
        for (int n = 0; n < kWrites; ++n) Save(who + std::to_string(n), who);
    };
    Child a([&] { write("a"); });
    Child b([&] { write("b"); });
    EXPECT_EQ(a.Wait() + b.Wait(), 0);
    EXPECT_THAT(RegEnumValues(HKEY_CURRENT_USER, kKey), Optional(SizeIs(2 * kWrites)));
}

TEST_F(ARegistry, AKillInTheMiddleOfAWriteLeavesWhatWasWrittenBefore) {
    void* shared =
        mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(shared, MAP_FAILED);
    auto* acknowledged = new (shared) std::atomic<int>(0);  // owned by the mapping
    Save("Big", std::string(100'000, 'x'));
    for (int round = 0; round < 10; ++round) {
        const int before = *acknowledged;
        Child child([acknowledged] {
            while (Save("Count", RegistryValue::FromNumber(*acknowledged + 1)) == kSuccess) ++*acknowledged;
        });
        while (*acknowledged < before + 3) std::this_thread::sleep_for(std::chrono::microseconds(100));
        std::this_thread::sleep_for(std::chrono::microseconds(300 * round));
        child.Signal(SIGKILL);
        ASSERT_EQ(child.Wait(), -SIGKILL);

        ASSERT_EQ(ParseRegistry(ReadFile(file_)).damaged_line, 0U);
        ASSERT_THAT(TextOf("Big"), Optional(SizeIs(100'000)));
        const auto count = RegQueryValueEx(HKEY_CURRENT_USER, kKey, "Count");
        ASSERT_TRUE(count);
        ASSERT_GE(count->Number(), acknowledged->load());
        *acknowledged = *count->Number();
    }
    munmap(shared, sizeof(std::atomic<int>));
}

TEST_F(ARegistry, SetsDamagedFilesAsideAndSaysSoOnceEach) {
    const std::string damaged = "Windows Registry Editor Version 5.00\n[HKEY_CURRENT_USER\\S]\n\"x\"=\"tr";
    WriteFile(file_, damaged);
    testing::internal::CaptureStderr();
    EXPECT_EQ(TextOf("x", "S"), std::nullopt);
    EXPECT_EQ(Save("y", "1", "S"), kSuccess);
    EXPECT_EQ(TextOf("y", "S"), "1");
    const auto said = testing::internal::GetCapturedStderr();
    const auto aside = DamagedFiles();
    ASSERT_THAT(aside, SizeIs(1));
    EXPECT_EQ(ReadFile(aside[0]), damaged);
    EXPECT_EQ(said, file_ + ", line 3: the settings file is damaged and was renamed to " + aside[0] + "\n");

    WriteFile(file_, "garbage");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Save("z", "1", "S"), kSuccess);
    testing::internal::GetCapturedStderr();
    EXPECT_THAT(DamagedFiles(), SizeIs(2));
}

TEST_F(ARegistry, LeavesALinkedFileLinkedAndItsRightsAsTheyAre) {
    const auto target = folder_ / "linked.reg";
    fs::create_symlink("../linked.reg", file_);
    EXPECT_EQ(Save("x", "1"), kSuccess);
    fs::permissions(target, fs::perms(0640));
    EXPECT_EQ(Save("x", "2"), kSuccess);
    EXPECT_TRUE(fs::is_symlink(file_));
    EXPECT_THAT(ReadFile(target), HasSubstr("\"x\"=\"2\""));
    EXPECT_EQ(fs::status(target).permissions(), fs::perms(0640));
}

TEST_F(ARegistry, WritesFailWhereItsFileCannotBeRead) {
    fs::create_directories(file_);
    EXPECT_EQ(Save("x", "1"), kAccessDenied) << "a folder";
    fs::remove(file_);
    fs::create_symlink("user.reg", file_);
    EXPECT_EQ(Save("x", "1"), kAccessDenied) << "a link to itself";
    EXPECT_TRUE(fs::is_symlink(file_));
    WriteFile(folder_ / "file", "");
    const test::EnvVar no_folder("XDG_CONFIG_HOME", folder_ / "file");
    EXPECT_EQ(Save("x", "1"), kAccessDenied) << "no folder";
}

}  // namespace
}  // namespace pellago
