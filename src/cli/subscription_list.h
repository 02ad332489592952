#pragma once

#include <filesystem>
#include <string>

#include "store/subscriptions.h"

namespace pellago::cli {

/// Reads an OPML file. The innermost folder with a name is a feed's provider, else its address's host; a
/// folder that holds nothing but folders is no provider. An outline with isComment="true" is not active.
/// Throws Failure kInputMissing or kUnreadable. In subscription_list_reading.cpp.
SubscriptionList ReadSubscriptionList(const std::filesystem::path& path);

/// The list as OPML 2.0. In subscription_list_writing.cpp.
std::string SubscriptionListText(const SubscriptionList& list);

}  // namespace pellago::cli
