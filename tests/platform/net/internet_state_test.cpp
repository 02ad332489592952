#include "platform/net/internet_state.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <net/route.h>
#include <sched.h>
#include <sys/ioctl.h>

#include "network_routes.h"
#include "support/child.h"
#include "support/support.h"

namespace pellago {
namespace {

using testing::ElementsAre;

TEST(NetworkRoutes, AreThoseThatLeadToOtherMachines) {
    EXPECT_THAT(ParseIpv4Routes("Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\n"
                                "eth0\t00000000\t010200C0\t0003\t0\t0\t100\t00000000\t0\t0\t0  \n"
                                "ppp0\t00000000\t00000000\t0001\t0\t0\t7\t00000000\t0\t0\t0\n"
                                "tun0\t00000000\t0100080A\t0003\t0\t0\t0\t00000080\t0\t0\t0\n"
                                "docker0\t000011AC\t00000000\t0001\t0\t0\t0\t0000FFFF\t0\t0\t0\n"
                                "down\t00000000\t010200C0\t0002\t0\t0\t0\t00000000\t0\t0\t0\n"
                                "*\t00000000\t00000000\t0201\t0\t0\t0\t00000000\t0\t0\t0\n"
                                "eth0\t0000FEA9\t00000000\t0001\t0\t0\t0\t0000FFFF\t0\t0\t0\n"
                                "eth0\t000000E0\t00000000\t0001\t0\t0\t0\t000000F0\t0\t0\t0\n"
                                "lo\t0000007F\t00000000\t0001\t0\t0\t0\t000000FF\t0\t0\t0\n"
                                "eth0\t0x\t0\t1\t0\t0\t0\t0\n\neth0\t00000000\t0102"),
                ElementsAre(NetworkRoute{"eth0", true, true, 100}, NetworkRoute{"ppp0", true, false, 7},
                            NetworkRoute{"tun0", false, true, 0}, NetworkRoute{"docker0", false, false, 0}));
    const auto row = [](const std::string& destination, const std::string& gateway,
                        const std::string& metric_and_flags, const std::string& interface) {
        const std::string none = " 00000000000000000000000000000000 ";
        return destination + none + "00 " + gateway + metric_and_flags + "     " + interface + "\n";
    };
    const std::string any = "00000000000000000000000000000000";
    const std::string router = "fd000000000000000000000000000001";
    EXPECT_THAT(
        ParseIpv6Routes(row(any + " 00", router, " 00000400 00000002 00000000 00450003", "wlan0") +
                        row("fd000000000000000000000000000000 40", any, " 100 1 0 00000001", "eth0") +
                        row("fd000000000000000000000000000002 80", any, " 0 3 0 80200001", "eth0") +
                        row("fd000000000000000000000000000000 80", any, " 0 3 0 00100001", "eth0") +
                        row("fe800000000000000000000000000000 40", any, " 100 2 0 00000001", "eth0") +
                        row("ff000000000000000000000000000000 08", any, " 100 3 0 00000001", "eth0") +
                        row("00000000000000000000000000000001 80", any, " 100 3 0 00000001", "lo") +
                        row(any + " 00", any, " ffffffff 00000001 00000000 00200200", "lo") + "half a line"),
        ElementsAre(NetworkRoute{"wlan0", true, true, 1024}, NetworkRoute{"eth0", false, false, 256}));
}

constexpr int kRefused = 77;  ///< exit status of a scene that the kernel does not allow

/// A virtual interface that is up and running while the object lives, and has an address.
class Tunnel final {
public:
    Tunnel(const std::string& name, const char* address) : name_(name) {
        Do(device_, TUNSETIFF, [](ifreq& request) { request.ifr_flags = IFF_TUN | IFF_NO_PI; });
        Do(socket_, SIOCSIFADDR, [&](ifreq& request) { Put(address, request.ifr_addr); });
        Do(socket_, SIOCSIFNETMASK, [](ifreq& request) { Put("255.255.255.0", request.ifr_netmask); });
        Do(socket_, SIOCSIFFLAGS, [](ifreq& request) { request.ifr_flags = IFF_UP | IFF_RUNNING; });
    }
    ~Tunnel() {
        close(device_);
        close(socket_);
    }
    Tunnel(const Tunnel&) = delete;
    Tunnel& operator=(const Tunnel&) = delete;

    void MakeDefaultRoute(short metric) {
        rtentry route{};
        route.rt_dst.sa_family = route.rt_genmask.sa_family = AF_INET;
        route.rt_flags = RTF_UP;
        route.rt_metric = static_cast<short>(metric + 1);
        route.rt_dev = name_.data();
        if (ioctl(socket_, SIOCADDRT, &route) != 0) _exit(kRefused);
    }

private:
    static void Put(const char* address, sockaddr& where) {
        where.sa_family = AF_INET;
        inet_pton(AF_INET, address, &reinterpret_cast<sockaddr_in&>(where).sin_addr);
    }
    void Do(int file, unsigned long what, const std::function<void(ifreq&)>& fill) const {
        ifreq request{};
        name_.copy(request.ifr_name, IFNAMSIZ - 1);
        fill(request);
        if (ioctl(file, what, &request) != 0) _exit(kRefused);
    }

    std::string name_;
    int device_ = open("/dev/net/tun", O_RDWR | O_CLOEXEC);
    int socket_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

std::string Told() {
    const auto [connected, flags, name] = InternetGetConnectedStateEx();
    // Whether the machine can dial depends on what is installed.
    const auto known = std::to_string(flags & ~INTERNET_RAS_INSTALLED);
    return (connected ? "connected " : "alone ") + known + " " + name + "\n";
}

// A network of its own, first with nothing but the loopback interface.
class ANetwork : public testing::Test {
protected:
    /// What `scene` tells inside the network; nothing when the kernel gives none.
    std::string Inside(const std::function<std::string()>& scene) const {
        test::Child child([&] {
            if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) _exit(kRefused);
            test::WriteFile(folder_ / "told", scene());
        });
        const int status = child.Wait();
        EXPECT_TRUE(status == 0 || status == kRefused) << status;
        return status == 0 ? test::ReadFile(folder_ / "told") : "";
    }

    test::TempDir folder_;
    test::EnvVar config_home_{"XDG_CONFIG_HOME", folder_.Path().string()};
    test::EnvVar no_stand_in_{"PELLAGO_CONNECTION", "some day"};
};

TEST_F(ANetwork, OfLoopbackAloneIsConnectedByAProxyOnThisMachineOnly) {
    const auto told = Inside([] {
        std::string lines = Told();
        for (const auto& [variable, value] : std::initializer_list<std::pair<const char*, const char*>>{
                 {"http_proxy", "http://localhost:3128/"},
                 {"https_proxy", "127.0.0.53:3128"},
                 {"HTTPS_PROXY", "socks5h://u:p@[::1]:1080"},
                 {"ALL_PROXY", "http://proxy.example:3128"},
                 {"all_proxy", "http://127.example:3128"},
                 {"HTTP_PROXY", "http://localhost:3128/"},
                 {"http_proxy", ""}}) {
            const test::EnvVar proxy(variable, value);
            lines += Told();
        }
        return lines;
    });
    if (told.empty()) GTEST_SKIP() << "the kernel makes no network";
    EXPECT_EQ(told,
              "alone 0 \nconnected 4 \nconnected 4 \nconnected 4 \n"
              "alone 0 \nalone 0 \nalone 0 \nalone 0 \n");
}

TEST_F(ANetwork, IsNamedByItsBestDefaultRouteAndTypedByAll) {
    if (access("/dev/net/tun", R_OK | W_OK) != 0) GTEST_SKIP() << "there are no tunnels";
    const auto told = Inside([] {
        const test::EnvVar proxy("https_proxy", "http://proxy.example:3128");
        Tunnel bridge("br-1", "10.9.1.1");
        auto lines = Told();
        bridge.MakeDefaultRoute(20);
        lines += Told();
        std::optional<Tunnel> modem(std::in_place, "ppp7", "10.9.2.1");
        modem->MakeDefaultRoute(10);
        lines += Told();
        InternetSetConnectedState(INTERNET_STATE_DISCONNECTED_BY_USER);
        lines += Told();
        InternetSetConnectedState(INTERNET_STATE_CONNECTED);
        modem.reset();
        return lines + Told();
    });
    if (told.empty()) GTEST_SKIP() << "the kernel makes no network";
    EXPECT_EQ(told, "alone 0 \nconnected 6 br-1\nconnected 7 ppp7\nalone 39 ppp7\nconnected 6 br-1\n");
}

}  // namespace
}  // namespace pellago
