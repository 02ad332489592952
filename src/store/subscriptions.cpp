#include "store/subscriptions.h"

#include <map>

#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::size_t kProviderLimit = 255;
constexpr std::size_t kChannelLimit = 100;
constexpr const char* kNoName = "<no name>";

Variant TextOrNull(const std::string& text) { return text.empty() ? Variant(Null()) : Variant(text); }

std::string TextOf(const Variant& value, const char* otherwise = "") {
    auto text = IsNull(value) ? std::string() : CStr(value);
    return text.empty() ? otherwise : text;
}

Recordset& Opened(Recordset& rows) {
    if (!rows.IsOpen()) rows.Open();
    return rows;
}

std::optional<std::int32_t> KeyOf(Command& search) {
    const auto found = search.Execute();
    if (found->Eof()) return std::nullopt;
    return CLng(found->Value("ID"));
}

bool IsOn(const Variant& active) { return !IsNull(active) && CBool(active); }

/// Goes to the row with that key, and switches it on.
void SwitchRowOn(Recordset& rows, const Variant& id) {
    if (IsNull(id)) return;
    Opened(rows).Filter("ID = " + CStr(id));
    if (rows.Eof() || IsOn(rows.Value("Active"))) return;
    rows.Value("Active", true);
    rows.Update();
}

}  // namespace

Subscriptions::Subscriptions(const DE1& database)
    : database_(database),
      providers_(database.CnnRSS(), database.Recordsets("rsAllProviders")->Source()),
      channels_(database.CnnRSS(), database.Recordsets("rsAllChannels")->Source()) {}

std::optional<std::int32_t> Subscriptions::FindProvider(const std::string& name) {
    auto& search = *database_.Commands("cmdSeachProvider");
    search["Title"].value = Left(name, kProviderLimit);
    return KeyOf(search);
}

std::optional<std::int32_t> Subscriptions::FindChannel(const std::string& address) {
    auto& search = *database_.Commands("cmdSeachChannel");
    search["RSSFile"].value = address;
    return KeyOf(search);
}

std::int32_t Subscriptions::AddProvider(const ListedProvider& provider) {
    auto& rows = Opened(providers_);
    rows.AddNew();
    rows.Value("Provider", Left(provider.name, kProviderLimit));
    rows.Value("HomePage", TextOrNull(provider.home_page));
    rows.Value("Active", provider.active);
    rows.Update();
    return CLng(rows.Value("ID"));
}

std::int32_t Subscriptions::AddChannel(const ListedFeed& feed, std::int32_t provider) {
    auto& rows = Opened(channels_);
    rows.AddNew();
    rows.Value("Channel", Left(feed.name.empty() ? feed.address : feed.name, kChannelLimit));
    rows.Value("httpRSSFile", feed.address);
    rows.Value("Link", TextOrNull(feed.link));
    rows.Value("Provider", provider);
    rows.Value("Active", feed.active);
    rows.Update();
    return CLng(rows.Value("ID"));
}

void Subscriptions::SwitchOn(std::int32_t channel) {
    SwitchRowOn(channels_, channel);
    if (!channels_.Eof()) SwitchRowOn(providers_, channels_.Value("Provider"));
}

SubscriptionList Subscriptions::All() {
    SubscriptionList list;
    std::map<std::int32_t, std::size_t> places;
    auto& providers = Opened(providers_);
    providers.Filter("");
    providers.Sort("ID");
    for (; !providers.Eof(); providers.MoveNext()) {
        places[CLng(providers.Value("ID"))] = list.size();
        list.push_back({TextOf(providers.Value("Provider"), kNoName),
                        TextOf(providers.Value("HomePage")),
                        IsOn(providers.Value("Active")),
                        {}});
    }
    auto& channels = Opened(channels_);
    channels.Filter("");
    channels.Sort("ID");
    for (; !channels.Eof(); channels.MoveNext()) {
        const auto owner = channels.Value("Provider");
        const auto place = places.find(IsNull(owner) ? 0 : CLng(owner));
        // A channel whose provider is gone is listed below a provider without a name.
        auto& provider = place != places.end() ? list[place->second] : list.emplace_back();
        provider.feeds.push_back({TextOf(channels.Value("Channel"), kNoName),
                                  TextOf(channels.Value("httpRSSFile")), TextOf(channels.Value("Link")),
                                  IsOn(channels.Value("Active"))});
    }
    return list;
}

}  // namespace pellago
