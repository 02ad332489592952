#include "platform/files/file_replacement.h"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>

#include "support/child.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago {
namespace {

using test::ReadFile;
using test::ThrownBy;
using test::WriteFile;
namespace fs = std::filesystem;

struct AReplacedFile : testing::Test {
    auto Files() const {
        return std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator());
    }
    static void Replace(const std::string& path, const std::string& bytes) {
        ReplaceFile(path, bytes, static_cast<fs::perms>(0666));
    }
    /// Why that cannot be done.
    static std::string Refusal(const std::string& path, const std::string& bytes) {
        const auto text = ThrownBy([&] { Replace(path, bytes); }).text;
        return text.starts_with(path + " cannot be written: ") ? text.substr(path.size() + 20) : text;
    }
    const test::TempDir folder;
    const std::string file = folder / "file";
};

TEST_F(AReplacedFile, KeepsItsRightsAndGetsTheUsualOnesWhenItIsNew) {
    const auto before = umask(027);
    Replace(file, "one");
    umask(before);
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0640));
    fs::permissions(file, fs::perms(0604));
    Replace(file, "two");
    EXPECT_EQ(fs::status(file).permissions(), fs::perms(0604));
    EXPECT_EQ(ReadFile(file), "two");
    EXPECT_EQ(Files(), 1) << "no draft is left";
}

TEST_F(AReplacedFile, KeepsItsOwnerWhereItMayAndOpensNothingToAnotherGroup) {
    if (geteuid() != 0) GTEST_SKIP() << "only root has users to choose from";
    WriteFile(file, "");
    fs::permissions(file, fs::perms(0664));
    ASSERT_EQ(chown(file.c_str(), 65534, 65533), 0);
    const auto replace = [&](uid_t user) {
        test::Child child([&] {
            if (setgid(user) != 0 || setuid(user) != 0) _exit(1);
            Replace(file, "x");
        });
        EXPECT_EQ(child.Wait(), 0);
        struct stat status {};
        EXPECT_EQ(stat(file.c_str(), &status), 0);
        return status;
    };
    auto status = replace(0);
    EXPECT_EQ(status.st_uid, 65534U);
    EXPECT_EQ(status.st_mode & 0777U, 0664U);
    fs::permissions(folder.Path(), fs::perms::all);
    status = replace(65532);
    EXPECT_EQ(status.st_uid, 65532U);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
}

TEST_F(AReplacedFile, IsTheOneThatLinksLeadToAlsoWhenItIsNotThereYet) {
    fs::create_symlink("second", folder / "first");
    fs::create_symlink("file", folder / "second");
    for (const auto* text : {"new", "old"}) {
        Replace(folder / "first", text);
        EXPECT_TRUE(fs::is_symlink(folder / "first") && fs::is_symlink(folder / "second"));
        EXPECT_EQ(ReadFile(file), text);
    }
}

TEST_F(AReplacedFile, IsWrittenToWhereItIsAPipe) {
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    test::Child reader([&] { _exit(ReadFile(file) == std::string(100'000, 'x') ? 0 : 1); });
    Replace(file, std::string(100'000, 'x'));
    EXPECT_EQ(reader.Wait(), 0);
    EXPECT_TRUE(fs::is_fifo(file));
}

TEST_F(AReplacedFile, IsLeftAloneAndNamedWhenItCannotBeWritten) {
    fs::create_directory(file);
    EXPECT_EQ(Refusal(file, "x"), "Is a directory");
    EXPECT_EQ(Refusal(folder / "missing/file", "x"), "No such file or directory");
    test::Child limited([&] {
        constexpr rlimit kTenBytes{10, 10};
        if (setrlimit(RLIMIT_FSIZE, &kTenBytes) != 0) _exit(1);
        std::signal(SIGXFSZ, SIG_IGN);
        _exit(Refusal(folder / "new", std::string(11, 'x')) == "File too large" ? 0 : 1);
    });
    EXPECT_EQ(limited.Wait(), 0);
    EXPECT_EQ(Files(), 1);
}

}  // namespace
}  // namespace pellago
