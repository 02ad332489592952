#include "platform/net/internet_state.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "curl_url.h"
#include "network_routes.h"
#include "platform/registry/registry.h"
#include "platform/values/replaceable.h"

namespace pellago {
namespace {

constexpr const char* kSwitchKey = "Software\\Quenlith\\Internet Settings";
constexpr const char* kSwitch = "GlobalUserOffline";

/// The whole file; empty when it cannot be read.
std::string TextOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// What the kernel tells of an interface under that name.
std::string InterfaceFile(const std::string& interface, const char* name) {
    return "/sys/class/net/" + interface + "/" + name;
}

bool IsModem(const std::string& interface) {
    const auto begins = [&](std::string_view prefix) { return interface.starts_with(prefix); };
    if (begins("ppp") || begins("wwan") || begins("wwp")) return true;
    return TextOf(InterfaceFile(interface, "type")) == std::to_string(ARPHRD_PPP) + "\n" ||
           TextOf(InterfaceFile(interface, "uevent")).find("DEVTYPE=wwan\n") != std::string::npos;
}

bool HasHardware(const std::string& interface) {
    std::error_code failure;
    return std::filesystem::exists(InterfaceFile(interface, "device"), failure);
}

struct Interface {
    std::string name;
    bool is_running;
};

std::vector<Interface> InterfacesWithoutLoopback() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(first, freeifaddrs);
    std::vector<Interface> interfaces;
    constexpr unsigned kRunning = IFF_UP | IFF_RUNNING;
    for (const auto* each = first; each; each = each->ifa_next)
        if ((each->ifa_flags & IFF_LOOPBACK) == 0)
            interfaces.push_back({each->ifa_name, (each->ifa_flags & kRunning) == kRunning});
    return interfaces;
}

/// The routes to other machines, the best one first.
std::vector<NetworkRoute> RoutesBy(const std::vector<Interface>& interfaces) {
    auto routes = ParseIpv4Routes(TextOf("/proc/net/route"));
    std::ranges::move(ParseIpv6Routes(TextOf("/proc/net/ipv6_route")), std::back_inserter(routes));
    std::erase_if(routes, [&](const NetworkRoute& route) {
        const bool is_running = std::ranges::any_of(interfaces, [&](const Interface& interface) {
            return interface.is_running && interface.name == route.interface;
        });
        // A bridge to this machine's own containers has routes too, but they end there.
        return !is_running || !(route.is_default || route.has_gateway || HasHardware(route.interface));
    });
    std::ranges::stable_sort(
        routes, {}, [](const NetworkRoute& route) { return std::tuple(!route.is_default, route.metric); });
    return routes;
}

bool IsLoopback(const std::string& host) {
    in_addr address{};
    if (inet_pton(AF_INET, host.c_str(), &address) == 1) return ntohl(address.s_addr) >> 24U == 127;
    return host == "localhost" || host == "[::1]";
}

/// The hosts of the proxies that HTTP transfers go through. HTTP_PROXY is not among them, because on a web
/// server anybody can set it.
std::vector<std::string> ProxyHosts() {
    std::vector<std::string> hosts;
    for (const char* variable : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"}) {
        const char* proxy = std::getenv(variable);
        if (proxy && *proxy) hosts.push_back(ProxyHost(proxy));
    }
    return hosts;
}

InternetState StateOfMachine() {
    InternetState state;
    const auto interfaces = InterfacesWithoutLoopback();
    const auto routes = RoutesBy(interfaces);
    for (const auto& route : routes)
        state.flags |= IsModem(route.interface) ? INTERNET_CONNECTION_MODEM : INTERNET_CONNECTION_LAN;
    if (!routes.empty()) state.name = routes.front().interface;

    const auto proxies = ProxyHosts();
    state.connected = !routes.empty() || std::ranges::any_of(proxies, IsLoopback);
    if (state.connected && !proxies.empty()) state.flags |= INTERNET_CONNECTION_PROXY;

    if (std::ranges::any_of(interfaces, IsModem, &Interface::name) || access("/usr/sbin/pppd", X_OK) == 0)
        state.flags |= INTERNET_RAS_INSTALLED;
    return state;
}

InternetState StateOfMachineOrEnvironment() {
    const char* variable = std::getenv("PELLAGO_CONNECTION");
    const std::string_view named = variable ? variable : "";
    if (named == "none") return {};
    if (named == "modem") return {true, INTERNET_CONNECTION_MODEM | INTERNET_RAS_INSTALLED, {}};
    if (named == "lan") return {true, INTERNET_CONNECTION_LAN, {}};
    if (named == "proxy") return {true, INTERNET_CONNECTION_PROXY, {}};
    return StateOfMachine();
}

bool IsSwitchedOffline() {
    const auto value = RegQueryValueEx(HKEY_CURRENT_USER, kSwitchKey, kSwitch);
    return value && value->Number().value_or(0) != 0;
}

InternetState StateUnlessSwitchedOff() {
    auto state = StateOfMachineOrEnvironment();
    if (IsSwitchedOffline()) {
        state.connected = false;
        state.flags |= INTERNET_CONNECTION_OFFLINE;
    }
    return state;
}

Replaceable connection_state(StateUnlessSwitchedOff);

}  // namespace

InternetState InternetGetConnectedStateEx() { return connection_state(); }

bool InternetSetConnectedState(std::uint32_t state) {
    if (state != INTERNET_STATE_CONNECTED && state != INTERNET_STATE_DISCONNECTED_BY_USER) return false;
    const auto value = RegistryValue::FromNumber(state == INTERNET_STATE_DISCONNECTED_BY_USER ? 1 : 0);
    return RegCreateKeyEx(HKEY_CURRENT_USER, kSwitchKey) == RegResult::kSuccess &&
           RegSetValueEx(HKEY_CURRENT_USER, kSwitchKey, kSwitch, value) == RegResult::kSuccess;
}

void ReplaceInternetState(std::function<InternetState()> ask) { connection_state.Replace(std::move(ask)); }

}  // namespace pellago
