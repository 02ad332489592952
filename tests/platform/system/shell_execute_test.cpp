#include "platform/system/shell_execute.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <filesystem>

#include "platform/system/session_bus.h"
#include "support/bus_service.h"
#include "support/child.h"
#include "support/stand_in_opener.h"
#include "support/support.h"
#include "support/wait_until.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::ReadFile;
using test::WriteFile;
using test::WriteScript;
using testing::ElementsAre;
using testing::IsEmpty;
namespace fs = std::filesystem;
namespace result = shell_result;

class AShell : public testing::Test {
protected:
    AShell() { fs::create_directory(folder_ / "some folder"); }
    ~AShell() override { fs::current_path(before_); }

    std::string File(const std::string& name) const {
        WriteFile(folder_ / name, "text");
        return folder_ / name;
    }

    test::TempDir folder_;
    test::StandInOpener opener_;
    fs::path before_ = fs::current_path();
};

TEST_F(AShell, HandsALinkOverAsOneArgumentThatNothingHasTouched) {
    fs::current_path(folder_.Path());
    for (const auto& link :
         {std::string("mailto:a@b?subject=$(touch x);'\"` \\\n%0A&\xC3\xA4\xFF"),
          "https://h/?" + std::string(100'000, 'x'), std::string("x-a+1.0:"), std::string("ms:-e")}) {
        EXPECT_EQ(ShellOpen("open", link, ""), result::kSuccess);
        EXPECT_THAT(opener_.TakeArguments(), ElementsAre(link));
    }
    EXPECT_FALSE(fs::exists("x"));
    EXPECT_EQ(ShellOpen("open", "mailto:" + std::string(200'000, 'x'), ""), result::kOutOfMemory);
    EXPECT_THAT(opener_.TakeArguments(), IsEmpty());
}

TEST_F(AShell, HandsADocumentOverByItsWholePathAndRunsNoneOfThem) {
    WriteScript(folder_ / "script.sh", "touch ran");
    for (const auto& name : {"-e", "http:x", "script.sh", "some folder"}) {
        if (!fs::exists(folder_ / name)) File(name);
        fs::current_path(folder_.Path());
        EXPECT_EQ(ShellOpen("Open", name, folder_ / "some folder"), result::kSuccess);
        EXPECT_THAT(opener_.TakeArguments(), ElementsAre(folder_ / name));
    }
    EXPECT_EQ(ShellExecute("open", File("a.txt"), "lost", ""), result::kSuccess);
    EXPECT_THAT(opener_.TakeArguments(), ElementsAre(folder_ / "a.txt"));
    EXPECT_FALSE(fs::exists("ran") || fs::exists(folder_ / "some folder/ran"));
}

TEST_F(AShell, SaysWhyItDoesNotOpen) {
    const auto file = File("a.txt");
    const struct {
        std::string verb, file;
        std::int32_t expected;
    } cases[] = {{"open", "", result::kFileNotFound},
                 {"open", "nowhere.txt", result::kFileNotFound},
                 {"", folder_ / "none.txt", result::kFileNotFound},
                 {"explore", folder_ / "none/none.txt", result::kPathNotFound},
                 {"open", file + "/x", result::kPathNotFound},
                 {"open", "C:/x", result::kPathNotFound},
                 {"open", "c:x", result::kFileNotFound},
                 {"open", folder_ / std::string(300, 'x'), result::kFileNotFound},
                 {"print", file, result::kNoAssociation},
                 {"print", "https://h/", result::kNoAssociation}};
    for (const auto& item : cases)
        EXPECT_EQ(ShellOpen(item.verb, item.file, ""), item.expected) << item.verb << " " << item.file;
    EXPECT_THAT(opener_.TakeArguments(), IsEmpty());

    fs::permissions(folder_.Path(), fs::perms::all);
    fs::permissions(file, fs::perms::none);
    test::Child nobody([&] { _exit(setuid(65534) == 0 || geteuid() != 0 ? ShellOpen("", file, "") : 99); });
    EXPECT_EQ(nobody.Wait(), result::kAccessDenied);

    const test::EnvVar path("PATH", folder_.Path().string());
    WriteFile(folder_ / "xdg-open", "not executable");
    EXPECT_EQ(ShellOpen("", "https://h/", ""), result::kNoAssociation);
}

TEST_F(AShell, DoesNotWaitForAnOpenerThatStaysAndLeavesNoZombie) {
    opener_.EndsWith("echo $$ > '" + folder_ / "id" + "'; exec sleep 60");
    const auto open = [] { EXPECT_EQ(ShellOpen("", "https://h/", ""), result::kSuccess); };
    EXPECT_LT(test::TimeOf(open), 10s);
    const auto id = std::stoi(ReadFile(folder_ / "id"));
    ASSERT_EQ(kill(id, SIGTERM), 0);
    EXPECT_TRUE(test::WaitUntil([&] { return kill(id, 0) != 0; }));
}

TEST_F(AShell, RunsAProgramWithItsParametersInItsDirectoryWithNothingOfOurs) {
    constexpr int kHeld = 250;
    ASSERT_EQ(dup2(STDERR_FILENO, kHeld), kHeld);  // without its close-on-exec flag
    WriteScript(folder_ / "a program", R"(exec > out
        for each; do printf '[%s]\n' "$each"; done
        pwd
        [ -e /proc/$$/fd/250 ] && echo descriptor
        read -r _ _ _ _ _ session _ < /proc/$$/stat
        [ $session = $$ ] || echo session
        while read -r name value; do
          # The highest bits are the run time's own signals.
          case $name in SigBlk:|SigIgn:) echo $((0x$value & 0x7FFFFFFF)) ;; esac
        done < /proc/$$/status
        mv out done)");
    sigset_t blocked{};
    sigaddset(&blocked, SIGTERM);
    sigprocmask(SIG_BLOCK, &blocked, nullptr);
    const auto before = signal(SIGPIPE, SIG_IGN);
    fs::current_path(folder_.Path());
    EXPECT_EQ(ShellExecute("open", "a program", "plain \"two words\" 'x y' $(id) \"\"\"q\"\"\" \"\" a\\b",
                           "some folder"),
              result::kSuccess);
    signal(SIGPIPE, before);
    sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
    close(kHeld);
    ASSERT_TRUE(test::WaitUntil([&] { return fs::exists(folder_ / "some folder/done"); }));
    EXPECT_EQ(ReadFile(folder_ / "some folder/done"),
              "[plain]\n[two words]\n['x]\n[y']\n[$(id)]\n[\"q\"]\n[a\\b]\n" + (folder_ / "some folder") +
                  "\n0\n0\n");
    EXPECT_THAT(opener_.TakeArguments(), IsEmpty());
}

TEST_F(AShell, SaysWhyAProgramDoesNotStart) {
    const auto program = folder_ / "program";
    WriteScript(program, "exit 0");
    EXPECT_EQ(ShellExecute("open", program, std::string(200'000, 'x'), ""), result::kOutOfMemory);
    EXPECT_EQ(ShellExecute("open", program, "", folder_ / "none"), result::kFileNotFound);
    EXPECT_FALSE(CreateProcessAndWait(program, "", folder_ / "none"));
    const int writing = open(program.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    EXPECT_EQ(ShellExecute("open", program, "", ""), result::kSharingViolation);
    close(writing);
    WriteFile(program, "neither script nor program");
    EXPECT_EQ(ShellExecute("open", program, "", ""), result::kBadFormat);
    EXPECT_FALSE(CreateProcessAndWait(program, "", ""));
    EXPECT_FALSE(CreateProcessAndWait(folder_ / "none", "", ""));
    EXPECT_EQ(ShellExecute("print", program, "", ""), result::kNoAssociation);
}

// A session bus of its own, on which nothing is started on demand.
class APropertySheet : public testing::Test {
protected:
    APropertySheet() {
        WriteFile(folder_ / "bus.conf", "<busconfig><type>session</type><listen>" + Address() +
                                            "</listen><policy context='default'><allow send_destination='*'/>"
                                            "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>");
    }

    std::string Address() const { return "unix:path=" + folder_ / "bus"; }
    static void RunBus(const std::string& configuration) {
        // It complains of limits that it may not raise.
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        execlp("dbus-daemon", "dbus-daemon", "--nofork", ("--config-file=" + configuration).c_str(), nullptr);
        _exit(127);
    }

    test::TempDir folder_;
    test::EnvVar bus_{"DBUS_SESSION_BUS_ADDRESS", Address()};
};

TEST_F(APropertySheet, IsAskedOfTheFileManagerByTheFilesAddress) {
    const test::Child bus([&] { RunBus(folder_ / "bus.conf"); });
    ASSERT_TRUE(test::WaitUntil([&] { return fs::exists(folder_ / "bus"); })) << "is dbus-daemon there?";
    EXPECT_LT(ShellShowProperties("/x"), result::kSuccess);
    ForgetDumbSessionBus();
    QVariantList asked;
    const test::BusService manager(
        "org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
        [&](const QDBusMessage& call, const QDBusConnection&) {
            if (call.interface() + "." + call.member() != "org.freedesktop.FileManager1.ShowItemProperties")
                return QDBusMessage();
            const bool refuses = !std::exchange(asked, call.arguments()).isEmpty();
            return refuses ? call.createErrorReply(QDBusError::Failed, "no") : call.createReply();
        });
    EXPECT_EQ(ShellShowProperties("/a b/%,\xC3\xA4\xFF#?.txt"), result::kSuccess);
    EXPECT_EQ(asked, (QVariantList{QStringList("file:///a%20b/%25%2C%C3%A4%FF%23%3F.txt"), QString()}));
    EXPECT_LT(ShellShowProperties("relative"), result::kSuccess);
    EXPECT_TRUE(asked.value(0).toStringList().value(0).startsWith("file:///"));
}

TEST_F(APropertySheet, FailsInTimeAndWithoutAWordWhereTheBusIsGoneOrDumb) {
    testing::internal::CaptureStderr();
    const auto fails = [] { EXPECT_LT(ShellShowProperties("/x"), result::kSuccess); };
    fails();
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    (folder_ / "bus").copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 5), 0);
    EXPECT_LT(test::TimeOf(fails), 10s);
    EXPECT_LT(test::TimeOf(ForgetDumbSessionBus), 10s);
    EXPECT_NE(std::getenv("DBUS_SESSION_BUS_ADDRESS"), Address());
    close(listener);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
}  // namespace pellago
