#include "platform/system/system_version.h"

#include <utility>

namespace pellago {
namespace {

std::function<std::optional<SystemVersion>(std::uint32_t)>& Replacement() {
    static std::function<std::optional<SystemVersion>(std::uint32_t)> replacement;
    return replacement;
}

}  // namespace

std::optional<SystemVersion> GetVersionEx(std::uint32_t record_size) {
    if (Replacement()) return Replacement()(record_size);
    if (record_size != kExtendedVersionRecord && record_size != kBasicVersionRecord) return std::nullopt;
    return SystemVersion{5, 1, 2600, VER_PLATFORM_WIN32_NT};
}

void ReplaceSystemVersion(std::function<std::optional<SystemVersion>(std::uint32_t)> system) {
    Replacement() = std::move(system);
}

}  // namespace pellago
