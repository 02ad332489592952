#pragma once

#include <cstdint>

namespace pellago {

/// The classic priority classes, each with the nice value that stands for it here.
namespace priority_class {
inline constexpr std::uint32_t kRealtime = 0x100;      ///< -20
inline constexpr std::uint32_t kHigh = 0x80;           ///< -10
inline constexpr std::uint32_t kAboveNormal = 0x8000;  ///< -5
inline constexpr std::uint32_t kNormal = 0x20;         ///< 0
inline constexpr std::uint32_t kBelowNormal = 0x4000;  ///< 10
inline constexpr std::uint32_t kIdle = 0x40;           ///< 19
}  // namespace priority_class

/// Puts all threads of this process into a class. False, and the process as it was, for a number that is no
/// class and for one that the system refuses: without privilege no process may go up again.
bool SetPriorityClass(std::uint32_t priority_class);

}  // namespace pellago
