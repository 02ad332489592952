#include "platform/system/system_version.h"

#include <utility>

#include "platform/values/replaceable.h"

namespace pellago {
namespace {

std::optional<SystemVersion> FixedVersion(std::uint32_t record_size) {
    if (record_size != kExtendedVersionRecord && record_size != kBasicVersionRecord) return std::nullopt;
    return SystemVersion{5, 1, 2600, VER_PLATFORM_WIN32_NT};
}

Replaceable system_version(FixedVersion);

}  // namespace

std::optional<SystemVersion> GetVersionEx(std::uint32_t record_size) { return system_version(record_size); }

void ReplaceSystemVersion(std::function<std::optional<SystemVersion>(std::uint32_t)> system) {
    system_version.Replace(std::move(system));
}

}  // namespace pellago
