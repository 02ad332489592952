#include "platform/registry/autostart.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <filesystem>

#include "support/support.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;

class AnAutostart : public testing::Test {
protected:
    std::string Entry(const std::string& name) const { return folder_ / ("autostart/" + name + ".desktop"); }

    test::TempDir folder_;

private:
    test::EnvVar config_{"XDG_CONFIG_HOME", folder_.Path().string()};
};

/// The launcher of most desktops, whose library comes with Qt.
class Launcher final {
public:
    bool IsThere() const { return library_ != nullptr; }
    bool Launch(const std::string& entry) const {
        auto* program = Function<void*(const char*)>("g_desktop_app_info_new_from_filename")(entry.c_str());
        if (!program) return false;
        const int launched = Function<int(void*, void*, void*, void**)>("g_app_info_launch")(
            program, nullptr, nullptr, nullptr);
        Function<void(void*)>("g_object_unref")(program);
        return launched != 0;
    }

private:
    template <class Signature>
    Signature* Function(const char* name) const {
        return reinterpret_cast<Signature*>(dlsym(library_, name));
    }

    void* library_ = dlopen("libgio-2.0.so.0", RTLD_NOW);
};

TEST_F(AnAutostart, StartsAProgramWhateverItsPathIsMadeOf) {
    const Launcher launcher;
    if (!launcher.IsThere()) GTEST_SKIP() << "no launcher on this machine";
    const auto out = folder_ / "out";
    const test::EnvVar told("OUT", out);
    for (const std::string name :
         {R"(a "b" 'c' \d $HOME `id` ;#&<>*?~())", "50%f %% \\\\n", "a=\u00e4\t\nz"}) {
        const auto program = folder_ / (name + "/program");
        fs::create_directory(folder_ / name);
        test::WriteFile(program,
                        "#!/bin/sh\nprintf '%s|' \"$0\" \"$@\" >\"$OUT.new\"\nmv \"$OUT.new\" \"$OUT\"\n");
        fs::permissions(program, fs::perms::owner_all);
        ASSERT_TRUE(AddToAutostart("Corvane", '"' + program + "\" /background  50%"));

        ASSERT_TRUE(launcher.Launch(Entry("Corvane"))) << test::ReadFile(Entry("Corvane"));
        EXPECT_TRUE(test::WaitUntil([&] { return fs::exists(out); }));
        EXPECT_EQ(test::ReadFile(out), program + "|/background|50%|");
        fs::remove(out);
    }
}

TEST_F(AnAutostart, TakesACommandWithoutQuotesAsAPathWhereThatIsAFile) {
    test::WriteFile(folder_ / "the program", "");
    for (const auto& [command, exec] : std::vector<std::pair<std::string, std::string>>{
             {folder_ / "the program", '"' + (folder_ / "the program") + '"'},
             {"/bin/true /background", R"("/bin/true" "/background")"},
             {"/bin/$x` y", "\"/bin/\\\\$x\\\\`\" \"y\""},
             {"\"/bin/true", R"("\\"/bin/true")"}}) {
        EXPECT_TRUE(AddToAutostart("Corvane", command));
        EXPECT_THAT(test::ReadFile(Entry("Corvane")), testing::HasSubstr("\nExec=" + exec + '\n'));
    }
    EXPECT_TRUE(RemoveFromAutostart("Corvane"));
    EXPECT_FALSE(fs::exists(Entry("Corvane")));
}

TEST_F(AnAutostart, WritesNothingElsewhereAndSaysWhatItCannotWrite) {
    for (const std::string name : {"", "../evil", "/evil", "a/../../evil"})
        EXPECT_FALSE(AddToAutostart(name, "/bin/true")) << name;
    EXPECT_FALSE(AddToAutostart("Corvane", "/bin/\xFF"));
    EXPECT_TRUE(fs::is_empty(folder_.Path()) || fs::is_empty(folder_ / "autostart"));
    fs::remove(folder_ / "autostart");
    test::WriteFile(folder_ / "autostart", "no folder");
    EXPECT_FALSE(AddToAutostart("Corvane", "/bin/true"));
    EXPECT_EQ(test::ReadFile(folder_ / "autostart"), "no folder");
}

}  // namespace
}  // namespace pellago
