#include "platform/process.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "platform/message_box.h"
#include "platform/terminal_text.h"
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
    ASSERT_EQ(chmod(folder.Path().c_str(), 0777), 0);
    const test::EnvVar home("PELLAGO_HOME", std::nullopt);
    const test::EnvVar data_home("XDG_DATA_HOME", folder / "data");
    constexpr uid_t kNobody = 65534;
    EXPECT_EXIT(
        {
            const bool nobody = setuid(kNobody) == 0;
            const bool right =
                ProgramFolder() == folder / "data/pellago" && fs::is_directory(ProgramFolder());
            _exit(nobody && right ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(UserFolder, PassesOverARelativePath) {
    const test::EnvVar home("HOME", "/home/someone");
    const test::EnvVar config("XDG_CONFIG_HOME", "relative");
    EXPECT_EQ(UserFolder("XDG_CONFIG_HOME", ".config"), "/home/someone/.config");
}

TEST(TerminalText, LetsNoControlCharacterThrough) {
    EXPECT_EQ(TerminalText("a\r\n\tb\n\xC3\xA4"), "a\n\tb\n\xC3\xA4");
    EXPECT_EQ(TerminalText("\x1B[2J\rx\x7F"), "\xE2\x90\x9B[2J\xE2\x90\x8Dx\xE2\x90\xA1");
    EXPECT_EQ(TerminalText("\xC2\x9B"
                           "31m\xC2\xA0"),
              "\xEF\xBF\xBD"
              "31m\xC2\xA0");
    EXPECT_EQ(TerminalText("\x9B"
                           "31m"),
              "\xEF\xBF\xBD"
              "31m");
    EXPECT_EQ(TerminalText(std::string(1, '\0')), "\xE2\x90\x80");
}

TEST(MessageBox, WithoutWindowsPrintsTheTextAndTakesTheFirstButton) {
    testing::internal::CaptureStderr();
    const auto abort = ShowMessageBox({"It failed\x1B", "Pellago", MessageBoxButtons::kAbortRetryIgnore});
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Pellago: It failed\xE2\x90\x9B\n");
    EXPECT_EQ(abort, MessageBoxAnswer::kAbort);
    testing::internal::CaptureStderr();
    EXPECT_EQ(ShowMessageBox({"", "", MessageBoxButtons::kYesNo}), MessageBoxAnswer::kYes);
    EXPECT_EQ(ShowMessageBox({"", "", MessageBoxButtons::kRetryCancel}), MessageBoxAnswer::kRetry);
    testing::internal::GetCapturedStderr();
}

}  // namespace
}  // namespace pellago
