#include "app/channel_subscriber.h"

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
    if (subscriptions.FindChannel(address)) return;
    const auto host = HostOf(address);
    auto provider = subscriptions.FindProvider(host);
    if (!provider) provider = subscriptions.AddProvider({host, "", true, {}});
    subscriptions.AddChannel({"", address, "", true}, *provider);
    writes.Keep();
}

}  // namespace pellago
