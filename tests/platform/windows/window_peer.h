#pragma once

#include <cstdint>

// What the window of the program window_peer answers to.
namespace pellago::test {

inline constexpr std::int32_t kAddOne = 1;    ///< wParam + 1
inline constexpr std::int32_t kSendBack = 2;  ///< what the window lParam answers to kAddOne, plus 1000
inline constexpr std::int32_t kSendMany =
    3;  ///< 0; wParam times kAddOne goes to the window lParam afterwards
inline constexpr std::int32_t kRightOnes = 4;  ///< how many of those were answered as they should

}  // namespace pellago::test
