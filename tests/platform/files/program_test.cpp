#include "platform/files/program.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <map>

#include "platform/system/message_box.h"
#include "platform/values/terminal_text.h"
#include "support/child.h"
#include "support/support.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;

TEST(ProgramFolder, IsTheNamedOneElseTheExecutablesWhileThatIsWritable) {
    const test::TempDir folder;
    {
        const test::EnvVar home("PELLAGO_HOME", folder / "a/b");
        EXPECT_EQ(ProgramFolder(), folder / "a/b");
        EXPECT_TRUE(fs::is_directory(folder / "a/b"));
    }
    const test::EnvVar home("PELLAGO_HOME", std::nullopt);
    const auto executable = fs::read_symlink("/proc/self/exe");
    if (access(executable.parent_path().c_str(), W_OK) != 0) GTEST_SKIP() << "its folder is not writable";
    EXPECT_EQ(JoinPath(ProgramFolder(), ProgramName()), executable.string());
}

TEST(ProgramFolder, IsTheUsersDataFolderWhereTheExecutablesIsNotWritable) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become a user who may not write there";
    const test::TempDir folder;
    fs::permissions(folder.Path(), fs::perms::all);
    const test::EnvVar home("PELLAGO_HOME", std::nullopt);
    const test::EnvVar data_home("XDG_DATA_HOME", folder / "data");
    test::Child nobody([&] {
        const bool right = setuid(65534) == 0 && ProgramFolder() == folder / "data/pellago" &&
                           fs::is_directory(ProgramFolder());
        _exit(right ? 0 : 1);
    });
    EXPECT_EQ(nobody.Wait(), 0);
}

TEST(TerminalText, LetsNoControlCharacterThrough) {
    using namespace std::string_literals;
    for (const auto& [text, shown] : std::map<std::string, std::string>{
             {"a\r\n\tb\n\u00e4", "a\n\tb\n\u00e4"},
             {"\x1B[2J\rx\x7F", "\u241b[2J\u240dx\u2421"},
             {"\xC2\x9B;31m\u00a0", "\uFFFD;31m\u00a0"},
             {"\x9B;31m", "\uFFFD;31m"},
             {"\0"s, "\u2400"},
         })
        EXPECT_EQ(TerminalText(text), shown);
}

TEST(MessageBox, WithoutWindowsPrintsTheTextAndTakesTheFirstButton) {
    testing::internal::CaptureStderr();
    const auto abort = ShowMessageBox({"It failed\x1B", "Pellago", MessageBoxButtons::kAbortRetryIgnore});
    const auto yes = ShowMessageBox({"", "", MessageBoxButtons::kYesNo});
    EXPECT_EQ(testing::internal::GetCapturedStderr().substr(0, 22), "Pellago: It failed\u241b\n");
    EXPECT_EQ(abort, MessageBoxAnswer::kAbort);
    EXPECT_EQ(yes, MessageBoxAnswer::kYes);
}

}  // namespace
}  // namespace pellago
