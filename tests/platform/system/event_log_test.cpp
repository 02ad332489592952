#include "platform/system/event_log.h"

#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <string>

#include "support/child.h"
#include "support/support.h"

namespace pellago {
namespace {

constexpr int kRefused = 77;

// In a mount namespace of its own, where the system's log is a socket that we read.
void WriteAndRead() {
    const auto user = "0 " + std::to_string(geteuid()) + " 1";
    const auto group = "0 " + std::to_string(getegid()) + " 1";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) _exit(kRefused);
    test::WriteFile("/proc/self/setgroups", "deny");
    test::WriteFile("/proc/self/uid_map", user);
    test::WriteFile("/proc/self/gid_map", group);
    mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
    if (mount("tmpfs", "/dev", "tmpfs", 0, nullptr) != 0) _exit(kRefused);
    const int log = socket(AF_UNIX, SOCK_DGRAM, 0);
    const sockaddr_un address{AF_UNIX, "/dev/log"};
    if (bind(log, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) _exit(1);
    WriteEventLogError("it failed: 100%s");
    std::string entry(1000, '\0');
    const auto size = recv(log, entry.data(), entry.size(), MSG_DONTWAIT);
    entry.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    const auto priority = "<" + std::to_string(LOG_USER | LOG_ERR) + ">";
    const bool right = entry.starts_with(priority) && entry.find(" Pellago") != std::string::npos &&
                       entry.find(": it failed: 100%s") != std::string::npos;
    _exit(right ? 0 : 2);
}

TEST(EventLog, GetsAnErrorEntryOfOursAsItStands) {
    test::Child child(WriteAndRead);
    const int status = child.Wait();
    if (status == kRefused) GTEST_SKIP() << "no namespaces here";
    EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace pellago
