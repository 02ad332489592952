#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/context.h"
#include "cli/exit_status.h"

// What each verb of the command line does. Data goes to `context.out`, messages to `context.err`. Throw
// Failure or RunTimeError when the whole of what was asked cannot be done.
namespace pellago::cli {

/// Makes an empty database; a file that is there is not touched.
ExitStatus InitDatabase(const Context& context);

/// Adds the folders of an OPML file as providers and its feeds as channels, all or none. Providers are known
/// by name, channels by address; those that the database has already are left alone.
ExitStatus ImportList(const Context& context, const std::string& path);
/// Writes all providers and channels as OPML 2.0; "-" is the data stream.
ExitStatus ExportList(const Context& context, const std::string& path);

ExitStatus ListProviders(const Context& context);
ExitStatus AddProvider(const Context& context, const std::string& name, const std::string& home_page);
/// Unknown ids are named on the error stream and make the status kInputMissing; the others are done.
ExitStatus SetProvidersActive(const Context& context, const std::vector<std::int32_t>& ids, bool active);

ExitStatus ListChannels(const Context& context, std::optional<std::int32_t> provider);
/// `text` is the address of a feed or the name of a file.
ExitStatus AddChannel(const Context& context, const std::string& text, std::int32_t provider,
                      const std::string& name);
/// Like SetProvidersActive.
ExitStatus SetChannelsActive(const Context& context, const std::vector<std::int32_t>& ids, bool active);

struct UpdateOptions {
    std::optional<std::int32_t> provider;
    std::optional<std::int32_t> channel;
    bool json = false;
    bool quiet = false;
};
ExitStatus UpdateChannels(const Context& context, const UpdateOptions& options);

struct ListingOptions {
    std::optional<std::int32_t> channel;
    std::int32_t limit = 20;
    bool json = false;
};
/// Newest first.
ExitStatus ListNews(const Context& context, const ListingOptions& options);
ExitStatus ListLog(const Context& context, const ListingOptions& options);

ExitStatus ListSettings(const Context& context);
ExitStatus GetSetting(const Context& context, const std::string& key);
/// "True" and "False" are kept as Booleans, all else as text.
ExitStatus SetSetting(const Context& context, const std::string& key, const std::string& value);

}  // namespace pellago::cli
