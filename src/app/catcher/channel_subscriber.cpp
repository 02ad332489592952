#include "app/catcher/channel_subscriber.h"

#include <QUrl>

#include "store/all_or_nothing.h"
#include "store/subscriptions.h"
#include "store/web_address.h"

namespace pellago {

void ChannelSubscriber::HandleLink(const Variant& link) {
    const auto address = WebAddress(CStr(link));
    if (address.empty() || !QUrl(QString::fromStdString(address)).isValid()) return;
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
