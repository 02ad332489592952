#pragma once

#include <cstdint>
#include <string>

namespace pellago {

/// The machine's connection to the Internet, as the system sees it now. Nothing is kept: every property asks
/// afresh. Errors: RunTimeError 0x80040000 + 17701 … 17703.
class CInternetConnection final {
public:
    bool Connected() const;
    /// Empty when the system gives none.
    std::string ConnectionName() const;
    /// 1 modem, 2 local network, 3 proxy, 4 none of these; the first that applies.
    std::int32_t ConnectionType() const;
    bool RasInstalled() const;
    /// 1 offline, 2 online; the same for all programs of this user.
    std::int32_t WorkMode() const;
    /// Throws RunTimeError "Invalid work mode" for anything but 1 and 2, and then changes nothing.
    void WorkMode(std::int32_t mode);
};

}  // namespace pellago
