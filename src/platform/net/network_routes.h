#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace pellago {

/// A way to other machines, as the kernel's routing table has it.
struct NetworkRoute {
    std::string interface;
    bool is_default = false;
    bool has_gateway = false;
    std::uint32_t metric = 0;  ///< the lowest is taken first

    friend bool operator==(const NetworkRoute&, const NetworkRoute&) = default;
};

// The tables in /proc/net. Left out is what leads to no other machine or only to the next one: routes that
// are not up or reject, local, loopback, link-local and multicast addresses; and lines that make no sense.

/// Reads /proc/net/route.
std::vector<NetworkRoute> ParseIpv4Routes(std::string_view table);
/// Reads /proc/net/ipv6_route.
std::vector<NetworkRoute> ParseIpv6Routes(std::string_view table);

}  // namespace pellago
