#pragma once

#include <string>
#include <vector>

namespace pellago::bench {

/// What a run does, with libcurl, libxml2 and prepared statements and nothing of ours between them: one
/// channel after the other is fetched, parsed, and its new items are added to `News` of the database. Returns
/// the items added.
int BareRun(const std::string& database, const std::vector<std::string>& addresses);

}  // namespace pellago::bench
