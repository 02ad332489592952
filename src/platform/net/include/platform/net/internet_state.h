#pragma once

#include <cstdint>
#include <functional>
#include <string>

// The machine's connection to the Internet: what its interfaces, routes and proxy variables promise. Whether
// anybody answers at the other end is not tried.
//
// PELLAGO_CONNECTION in the environment stands in for the machine, for programs that a test starts: "none",
// "modem", "lan" or "proxy". Any other value is passed over.
namespace pellago {

inline constexpr std::uint32_t INTERNET_CONNECTION_MODEM = 0x01;  ///< by a ppp or mobile interface
inline constexpr std::uint32_t INTERNET_CONNECTION_LAN = 0x02;    ///< by any other interface
inline constexpr std::uint32_t INTERNET_CONNECTION_PROXY = 0x04;  ///< through an HTTP proxy
inline constexpr std::uint32_t INTERNET_RAS_INSTALLED = 0x10;     ///< the machine can dial
inline constexpr std::uint32_t INTERNET_CONNECTION_OFFLINE = 0x20;

struct InternetState {
    bool connected = false;
    std::uint32_t flags = 0;
    std::string name;  ///< of the interface with the best route, at most 255 characters; may be empty
};

/// Connected is a machine with a route to others, or with a proxy on itself, which knows ways that are not
/// seen from here; and only while it is not switched offline. A question that fails counts as no.
InternetState InternetGetConnectedStateEx();

inline constexpr std::uint32_t INTERNET_STATE_CONNECTED = 0x01;
inline constexpr std::uint32_t INTERNET_STATE_DISCONNECTED_BY_USER = 0x10;

/// Switches all programs of this user online (INTERNET_STATE_CONNECTED) or offline
/// (INTERNET_STATE_DISCONNECTED_BY_USER). The switch is a value in the registry: "GlobalUserOffline" of
/// "Software\Quenlith\Internet Settings". False when that fails and for any other state.
bool InternetSetConnectedState(std::uint32_t state);

/// Makes InternetGetConnectedStateEx answer `ask`; an empty function brings the real answer back. For tests.
void ReplaceInternetState(std::function<InternetState()> ask);

}  // namespace pellago
