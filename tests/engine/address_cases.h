#pragma once

#include <string>
#include <vector>

#include "support/http_server.h"

namespace pellago::test {

/// What a channel's address may lead to.
struct AddressCase {
    std::string name;  ///< also its path on the server
    bool loads;
    Reply reply;
};

/// Feeds in all wrappings, and all the ways in which a server can fail to deliver one. Some lead on to
/// others; `server` is where they are answered, and at
/// `nowhere` nobody listens. None takes longer than a moment.
std::vector<AddressCase> AllAddressCases(const HttpServer& server, const HttpServer& nowhere);

}  // namespace pellago::test
