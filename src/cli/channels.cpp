#include <filesystem>

#include "cli/verbs.h"
#include "database.h"
#include "platform/values/addresses.h"
#include "store/all_or_nothing.h"
#include "store/subscriptions.h"

namespace pellago::cli {
namespace {

namespace fs = std::filesystem;

void PrintChannel(const Context& context, Recordset& row) {
    PrintRow(context,
             {TextOf(row.Value("ID")), OnOrOff(row.Value("Active")), TextOf(row.Value("Provider"), "-"),
              TextOf(row.Value("Channel"), "<no name>"), TextOf(row.Value("httpRSSFile"))});
}

// Somebody who types "example.org/feed" means no file; a list may name a file that is still to come.
std::string AddressToAdd(const std::string& text) {
    auto address = FeedAddress(text, fs::current_path());
    if (address.starts_with("file://") && SchemeOf(text).empty() && !fs::exists(text))
        throw Failure(ExitStatus::kInputMissing,
                      "there is no file " + text + "; an address begins with http:// or https://");
    return address;
}

}  // namespace

ExitStatus ListChannels(const Context& context, std::optional<std::int32_t> provider) {
    const auto database = OpenDatabase(context);
    if (provider) RequireRow(*database->CnnRSS(), "Providers", "provider", *provider);
    const auto rows = database->Recordsets("rsAllChannels");
    rows->Open();
    if (provider) rows->Filter("Provider = " + std::to_string(*provider));
    rows->Sort("ID");
    for (; context.out && !rows->Eof(); rows->MoveNext()) PrintChannel(context, *rows);
    return ExitStatus::kAllWell;
}

ExitStatus AddChannel(const Context& context, const std::string& text, std::int32_t provider,
                      const std::string& name) {
    const auto address = AddressToAdd(text);
    const auto database = OpenDatabase(context);
    Subscriptions subscriptions(*database);
    AllOrNothing writes(*database->CnnRSS());
    RequireRow(*database->CnnRSS(), "Providers", "provider", provider);
    auto id = subscriptions.FindChannel(address);
    if (id)
        Complain(context, "there is a channel " + address + " already; it is left alone");
    else
        id = subscriptions.AddChannel({name, address, "", true}, provider);
    writes.Keep();
    const auto rows = OpenedAt(*database, "rsAllChannels", *id);
    PrintChannel(context, *rows);
    return ExitStatus::kAllWell;
}

ExitStatus SetChannelsActive(const Context& context, const std::vector<std::int32_t>& ids, bool active) {
    return SetActive(context, "rsAllChannels", "channel", ids, active);
}

}  // namespace pellago::cli
