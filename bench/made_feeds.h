#pragma once

#include <string>

namespace pellago::bench {

/// An RSS 2.0 feed whose items have `lines` lines of text, each about 80 bytes. `seed` makes its links and
/// texts its own.
std::string MadeFeed(int seed, int items, int lines = 22);

}  // namespace pellago::bench
