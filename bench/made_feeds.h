#pragma once

#include <string>

namespace pellago::bench {

/// An RSS 2.0 feed of about 2 KB an item. `seed` makes its links and texts its own.
std::string MadeFeed(int seed, int items);

}  // namespace pellago::bench
