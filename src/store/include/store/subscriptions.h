#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "store/de1.h"

namespace pellago {

struct ListedFeed {
    std::string name;
    std::string address;
    std::string link;  ///< the web page that the feed belongs to
    bool active = true;
};

struct ListedProvider {
    std::string name;
    std::string home_page;
    bool active = true;
    std::vector<ListedFeed> feeds;
};

using SubscriptionList = std::vector<ListedProvider>;

/// Finds and adds providers and channels of a database, by the same rules for all who do. May be used in the
/// middle of a run, too: the run's own recordsets stay where they are.
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

    /// Makes the channel and its provider active, so that the next run fetches the channel.
    void SwitchOn(std::int32_t channel);

    /// Everything, providers and channels in the order of their ids.
    SubscriptionList All();

private:
    const DE1& database_;
    Recordset providers_;
    Recordset channels_;
};

}  // namespace pellago
