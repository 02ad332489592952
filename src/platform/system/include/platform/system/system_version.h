#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace pellago {

inline constexpr std::uint32_t VER_PLATFORM_WIN32_NT = 2;

/// Sizes by which the caller of GetVersionEx says which record it wants.
inline constexpr std::uint32_t kExtendedVersionRecord = 156;
inline constexpr std::uint32_t kBasicVersionRecord = 148;

struct SystemVersion {
    std::uint32_t major;
    std::uint32_t minor;
    std::uint32_t build;
    std::uint32_t platform_id;
};

/// The desktop system whose rules this platform follows: one of the NT family, version 5 or later. Nothing
/// when the call fails, as it does for a record size that is not one of the two.
std::optional<SystemVersion> GetVersionEx(std::uint32_t record_size);

/// Makes GetVersionEx answer `system`; an empty function brings the real answer back. For tests.
void ReplaceSystemVersion(std::function<std::optional<SystemVersion>(std::uint32_t record_size)> system);

}  // namespace pellago
