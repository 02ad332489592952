#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "store/de1.h"
#include "subscription_list.h"

namespace pellago::cli {

/// The providers and channels of a database, as lists and verbs find and add them.
class Subscriptions final {
public:
    explicit Subscriptions(const DE1& database);

    /// By name, of which the first 255 characters count; exact, case included.
    std::optional<std::int32_t> FindProvider(const std::string& name);
    std::optional<std::int32_t> FindChannel(const std::string& address);

    /// The key of the new row; the provider's feeds are not added.
    std::int32_t AddProvider(const ListedProvider& provider);
    /// The channel is called by its address where the feed has no name.
    std::int32_t AddChannel(const ListedFeed& feed, std::int32_t provider);

    /// Everything, providers and channels in the order of their ids.
    SubscriptionList All();

private:
    const DE1& database_;
};

}  // namespace pellago::cli
