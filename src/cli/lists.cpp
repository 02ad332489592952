#include <filesystem>

#include "cli/exit_status.h"
#include "cli/plain_text.h"
#include "cli/verbs.h"
#include "database.h"
#include "platform/files/file_replacement.h"
#include "platform/values/run_time_error.h"
#include "store/all_or_nothing.h"
#include "store/subscriptions.h"
#include "subscription_list.h"

namespace pellago::cli {
namespace {

struct Added {
    int providers = 0;
    int channels = 0;
    int known = 0;
};

std::string Text(const Added& added) {
    return "added " + std::to_string(added.providers) + (added.providers == 1 ? " provider" : " providers") +
           " and " + std::to_string(added.channels) + (added.channels == 1 ? " channel; " : " channels; ") +
           std::to_string(added.known) + (added.known == 1 ? " channel was" : " channels were") +
           " there already";
}

/// A provider is added with its first new feed, or alone when the list has no feeds for it.
Added AddList(Subscriptions& subscriptions, const SubscriptionList& list) {
    Added added;
    for (const auto& provider : list) {
        auto owner = subscriptions.FindProvider(provider.name);
        const auto owner_id = [&] {
            if (!owner) {
                owner = subscriptions.AddProvider(provider);
                ++added.providers;
            }
            return *owner;
        };
        if (provider.feeds.empty()) owner_id();
        for (const auto& feed : provider.feeds) {
            if (subscriptions.FindChannel(feed.address)) {
                ++added.known;
            } else {
                subscriptions.AddChannel(feed, owner_id());
                ++added.channels;
            }
        }
    }
    return added;
}

void WriteList(const std::string& path, const std::string& text) {
    constexpr auto kAllReadAndWrite = static_cast<std::filesystem::perms>(0666);
    try {
        ReplaceFile(path, text, kAllReadAndWrite);
    } catch (const RunTimeError& error) {
        throw Failure(ExitStatus::kNotWritable, error.Description());
    }
}

}  // namespace

ExitStatus ImportList(const Context& context, const std::string& path) {
    const auto list = ReadSubscriptionList(path);
    const auto database = OpenDatabase(context);
    AllOrNothing writes(*database->CnnRSS());
    Subscriptions subscriptions(*database);
    const auto added = AddList(subscriptions, list);
    writes.Keep();
    context.out << Text(added) << '\n';
    return ExitStatus::kAllWell;
}

ExitStatus ExportList(const Context& context, const std::string& path) {
    const auto database = OpenDatabase(context);
    const auto text = SubscriptionListText(Subscriptions(*database).All());
    if (path == "-")
        context.out << text;
    else
        WriteList(path, text);
    return ExitStatus::kAllWell;
}

}  // namespace pellago::cli
