#include "infra/shell.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "platform/files/program.h"
#include "platform/registry/registry.h"
#include "support/stand_in_opener.h"
#include "support/thrown.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

using test::ReadFile;
using test::Thrown;
using test::ThrownBy;
using test::WriteScript;
using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::string_literals;
namespace fs = std::filesystem;

Thrown Expected(std::uint32_t number, const std::string& description) {
    return {static_cast<std::int32_t>(number), description, ProgramName() + ".CShell"};
}

const Thrown kNothing{};
const Thrown kFileNotFound = Expected(0x80044679, "File not found");
const Thrown kNoAssociation = Expected(0x80044683, "No association for file extension");

class Shell : public testing::Test {
protected:
    Shell() {
        fs::create_directory(folder_ / "sub");
        ReplaceMachineRegistry(folder_ / "machine.reg");
    }
    ~Shell() override { ReplaceMachineRegistry(""); }

    std::string File(const std::string& name) const {
        test::WriteFile(folder_ / name, "text");
        return folder_ / name;
    }

    static void SetDefault(const std::string& key, const std::string& value) {
        const auto path = "SOFTWARE\\Classes\\" + key;
        ASSERT_EQ(RegCreateKeyEx(HKEY_LOCAL_MACHINE, path), RegResult::kSuccess);
        RegSetValueEx(HKEY_LOCAL_MACHINE, path, "", RegistryValue::FromText(value));
    }

    test::TempDir folder_;
    test::StandInOpener opener_;
    CShell shell_;
};

TEST_F(Shell, WritesAMailLinkOfThePartsThatAreThere) {
    for (const auto& [cc, subject, body, link] :
         {std::tuple{"", "", "", "mailto:to"},
          {"c", "s&1", "b%0A", "mailto:to?subject=s&1&cc=c&body=b%0A"},
          {"c", "", "b", "mailto:to?cc=c&body=b"}}) {
        shell_.CreateNewMailMessage("to", cc, subject, body);
        EXPECT_THAT(opener_.TakeArguments(), ElementsAre(link));
    }
}

TEST_F(Shell, TellsWhyAFolderOrDocumentDidNotOpenAndOfALinkOnlyAFew) {
    const auto incomplete = Expected(0x8004467F, "Incomplete or invalid file association");
    const auto failed = Expected(0x80044681, "DDE transaction failed");
    const struct {
        const char* end;
        Thrown folder, link;
    } cases[] = {{"exit 0", kNothing, kNothing},      {"exit 1", incomplete, kNothing},
                 {"exit 2", kFileNotFound, kNothing}, {"exit 3", kNoAssociation, kNothing},
                 {"exit 4", failed, failed},          {"exit 127", failed, failed},
                 {"kill -9 $$", failed, failed}};
    for (const auto& item : cases) {
        opener_.EndsWith(item.end);
        EXPECT_EQ(ThrownBy([&] { shell_.OpenFolder(folder_ / "sub"); }), item.folder) << item.end;
        EXPECT_EQ(ThrownBy([&] { shell_.ExploreFolder(folder_ / "sub"); }), item.folder) << item.end;
        EXPECT_EQ(ThrownBy([&] { shell_.OpenDocument(File("x")); }), item.folder) << item.end;
        EXPECT_EQ(ThrownBy([&] { shell_.OpenUrl("https://h/"); }), item.link) << item.end;
    }
    EXPECT_EQ(ThrownBy([&] { shell_.OpenFolder(folder_ / "none"); }), kFileNotFound);
    EXPECT_EQ(ThrownBy([&] { shell_.ExploreFolder(folder_ / "none/none"); }),
              Expected(0x8004467A, "Path not found"));
    EXPECT_EQ(ThrownBy([&] { shell_.CreateNewMailMessage("", "", "", std::string(200'000, 'x')); }),
              Expected(0x8004467C, "Out of memory"));
}

TEST_F(Shell, OpensADocumentWithTheVerbOfItsType) {
    using Key = std::pair<const char*, std::string>;
    for (const auto& [key, value] : {Key{".one", "One\0file"s},
                                     {"One\\Shell", "print"},
                                     {".two", "Two"},
                                     {"Two\\Shell", ""},
                                     {"Two\\Shell\\print", ""},
                                     {"Two\\Shell\\&Open", ""},
                                     {".three", "Three"},
                                     {"Three\\Shell\\edit", ""},
                                     {"Three\\Shell\\print", ""},
                                     {".four", "Four"},
                                     {".five", ""},
                                     {".six", "Six"},
                                     {"Six\\Shell", "Open"},
                                     {"Six\\Shell\\print", ""}})
        SetDefault(key, value);
    for (const auto* name : {"a.two", "a.TWO", "a.one.four", "a.five", "a.six", "a.none", "one"}) {
        EXPECT_EQ(ThrownBy([&] { shell_.OpenDocument(File(name)); }), kNothing) << name;
        EXPECT_THAT(opener_.TakeArguments(), ElementsAre(folder_ / name));
    }
    for (const auto* name : {"a.one", "a.three"})
        EXPECT_EQ(ThrownBy([&] { shell_.OpenDocument(File(name)); }), kNoAssociation) << name;
    EXPECT_THAT(opener_.TakeArguments(), IsEmpty());
    EXPECT_EQ(ThrownBy([&] { shell_.OpenDocument("https://h/"); }), kFileNotFound);
}

TEST_F(Shell, StartsAProgramInItsFolderOrWaitsForItInAnother) {
    const auto program = folder_ / "a program";
    WriteScript(program, "sleep 0.2; echo \"$# $1\" > out; mv out ended");
    shell_.LaunchProgram(program, "\"a b\" c", true, folder_ / "sub");
    EXPECT_EQ(ReadFile(folder_ / "sub/ended"), "2 a b\n");

    shell_.LaunchProgram(program, "", false, folder_ / "sub");
    ASSERT_TRUE(test::WaitUntil([&] { return fs::exists(folder_ / "ended"); }));
    EXPECT_EQ(ReadFile(folder_ / "ended"), "0 \n");
}

TEST_F(Shell, TellsWhyAProgramDidNotStartAndWhereThereAreNoPropertiesToShow) {
    const auto text = File("text");
    const auto cannot_create = Expected(0x80044685, "Cannot create process");
    for (const bool waits : {true, false})
        EXPECT_EQ(ThrownBy([&] { shell_.LaunchProgram(folder_ / "none", "", waits, ""); }), kFileNotFound);
    EXPECT_EQ(ThrownBy([&] { shell_.LaunchProgram(text, "", true, ""); }), cannot_create);
    fs::permissions(text, fs::perms::owner_all);
    EXPECT_EQ(ThrownBy([&] { shell_.LaunchProgram(text, "", false, ""); }),
              Expected(0x80044684, "Invalid EXE file or error in EXE image"));

    const test::EnvVar no_bus("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder_ / "none");
    EXPECT_EQ(ThrownBy([&] { shell_.ShowProperties(folder_ / "none"); }), kFileNotFound);
    EXPECT_EQ(ThrownBy([&] { shell_.ShowProperties(File("x"), 1); }),
              Expected(0x80044686, "Cannot show properties"));
}

}  // namespace
}  // namespace pellago
