#pragma once

#include <string>
#include <vector>

namespace pellago::bench {

/// A new database at `path`, subscribed to these addresses, a hundred channels to a provider.
void MakeDatabase(const std::string& path, const std::vector<std::string>& addresses);

}  // namespace pellago::bench
