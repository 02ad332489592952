#include "platform/windows/named_mutex.h"

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <list>
#include <optional>

#include "platform/values/run_time_error.h"
#include "support/child.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago {
namespace {

using namespace std::string_literals;
using test::Child;
using test::EnvVar;
using test::Pipe;
using test::ThrownBy;
using testing::HasSubstr;
namespace fs = std::filesystem;

class AMutex : public testing::Test {
protected:
    test::TempDir folder_;
    EnvVar runtime_folder_{"XDG_RUNTIME_DIR", folder_.Path().string()};
};

TEST_F(AMutex, IsOwnedByTheFirstUntilThatIsReleased) {
    std::optional<NamedMutex> first("m");
    std::optional<NamedMutex> second("m");
    EXPECT_FALSE(first->AlreadyExisted());
    EXPECT_TRUE(second->AlreadyExisted());
    EXPECT_FALSE(NamedMutex("another").AlreadyExisted());
    EXPECT_TRUE(NamedMutex("m").AlreadyExisted());
    second.reset();
    EXPECT_TRUE(NamedMutex("m").AlreadyExisted()) << "the second owned nothing";
    second.emplace("m");
    first.reset();
    EXPECT_FALSE(NamedMutex("m").AlreadyExisted()) << "the second keeps nobody from it";
    EXPECT_EQ(fs::status(folder_ / "pellago").permissions(), fs::perms::owner_all);
}

TEST_F(AMutex, HasOneOwnerHoweverManyStartAtOnce) {
    constexpr int kStarts = 8;
    for (int round = 0; round < 20; ++round) {
        const Pipe start;
        const Pipe existed;
        std::list<Child> children;
        for (int n = 0; n < kStarts; ++n)
            children.emplace_back([&] {
                start.Get<char>();
                const NamedMutex mutex("m");
                existed.Put(mutex.AlreadyExisted());
                pause();
            });
        start.Put(std::array<char, kStarts>{});
        int owners = 0;
        for (int n = 0; n < kStarts; ++n) owners += existed.Get<bool>() ? 0 : 1;
        ASSERT_EQ(owners, 1);
    }
}

TEST_F(AMutex, IsRefusedWithAReasonForBadNamesAndUnusableFolders) {
    for (const auto& name : {""s, "a/b"s, "nul\0"s})
        EXPECT_EQ(ThrownBy([&] { NamedMutex mutex(name); }).number, error_number::kInvalidProcedureCall);
    const auto raised = [] { return ThrownBy([] { NamedMutex mutex("m"); }); };
    EXPECT_THAT(ThrownBy([] { NamedMutex mutex(std::string(300, 'x')); }).text, HasSubstr("too long"));

    fs::create_directory(folder_ / "pellago");
    fs::permissions(folder_ / "pellago", fs::perms(0750));
    const auto refusal = "The runtime folder " + (folder_ / "pellago") + " cannot be used: ";
    EXPECT_EQ(raised(), (test::Thrown{error_number::kFileAccess, refusal + "Other users may enter it", ""}));
    fs::rename(folder_ / "pellago", folder_ / "elsewhere");
    fs::permissions(folder_ / "elsewhere", fs::perms::owner_all);
    fs::create_symlink("elsewhere", folder_ / "pellago");
    EXPECT_THAT(raised().text, HasSubstr("It is no folder"));
    const EnvVar missing("XDG_RUNTIME_DIR", folder_ / "missing");
    EXPECT_THAT(raised().text, HasSubstr("No such file"));
}

TEST_F(AMutex, IsAmongTheTemporaryFilesWhereThereIsNoRuntimeFolderOfTheUsers) {
    const auto user = std::to_string(geteuid());
    if (fs::exists("/run/user/" + user)) GTEST_SKIP() << "this user has one";
    const EnvVar temporary("TMPDIR", folder_.Path().string());
    const auto file = fs::path(folder_ / ("pellago-" + user)) / "mutex-m";
    std::list<std::optional<std::string>> values{std::nullopt, "relative", ""};
    if (geteuid() == 0) {
        fs::create_directory(folder_ / "anothers");
        ASSERT_EQ(chown((folder_ / "anothers").c_str(), 65534, 65534), 0);
        values.emplace_back(folder_ / "anothers");
    }
    for (const auto& value : values) {
        const EnvVar runtime_folder("XDG_RUNTIME_DIR", value);
        fs::remove_all(file.parent_path());
        const NamedMutex mutex("m");
        EXPECT_TRUE(fs::exists(file)) << value.value_or("none");
    }
}

}  // namespace
}  // namespace pellago
