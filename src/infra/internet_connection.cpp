#include "infra/internet_connection.h"

#include "infra/component_errors.h"
#include "platform/net/internet_state.h"

namespace pellago {
namespace {

constexpr ComponentErrors kErrors("CInternetConnection", 17701, 17703);

constexpr std::int32_t kInvalidWorkMode = 17701;
constexpr std::int32_t kCannotSetOption = 17702;

constexpr std::int32_t kOffline = 1;
constexpr std::int32_t kOnline = 2;

InternetState State() {
    return kErrors.Run([] { return InternetGetConnectedStateEx(); });
}

bool HasFlag(std::uint32_t flag) { return (State().flags & flag) != 0; }

}  // namespace

bool CInternetConnection::Connected() const { return State().connected; }

std::string CInternetConnection::ConnectionName() const { return State().name; }

std::int32_t CInternetConnection::ConnectionType() const {
    const auto flags = State().flags;
    if (flags & INTERNET_CONNECTION_MODEM) return 1;
    if (flags & INTERNET_CONNECTION_LAN) return 2;
    return flags & INTERNET_CONNECTION_PROXY ? 3 : 4;
}

bool CInternetConnection::RasInstalled() const { return HasFlag(INTERNET_RAS_INSTALLED); }

std::int32_t CInternetConnection::WorkMode() const {
    return HasFlag(INTERNET_CONNECTION_OFFLINE) ? kOffline : kOnline;
}

void CInternetConnection::WorkMode(std::int32_t mode) {
    kErrors.Run([&] {
        if (mode != kOffline && mode != kOnline) kErrors.Raise(kInvalidWorkMode, "Invalid work mode");
        const auto state = mode == kOffline ? INTERNET_STATE_DISCONNECTED_BY_USER : INTERNET_STATE_CONNECTED;
        if (!InternetSetConnectedState(state))
            kErrors.Raise(kCannotSetOption, "Cannot set the Internet option");
    });
}

}  // namespace pellago
