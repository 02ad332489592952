#include "app/catcher/channel_subscriber.h"

#include "platform/values/addresses.h"
#include "store/all_or_nothing.h"
#include "store/subscriptions.h"

namespace pellago {

void ChannelSubscriber::HandleLink(const Variant& link) {
    const auto address = WebAddress(CStr(link));
    if (address.empty()) return;
    AllOrNothing writes(*database_.CnnRSS());
    Subscriptions subscriptions(database_);
    auto channel = subscriptions.FindChannel(address);
    if (!channel) {
        const auto host = HostOf(address);
        auto provider = subscriptions.FindProvider(host);
        if (!provider) provider = subscriptions.AddProvider({host, "", true, {}});
        channel = subscriptions.AddChannel({"", address, "", true}, *provider);
    }
    subscriptions.SwitchOn(*channel);
    writes.Keep();
}

}  // namespace pellago
