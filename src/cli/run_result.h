#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/values/date_time.h"
#include "store/de1.h"

namespace pellago::cli {

struct ChannelResult {
    std::int32_t id = 0;  ///< 0 for the run itself
    std::string name = {};
    std::string address = {};
    std::vector<std::int32_t> codes = {};  ///< of the channel's log rows, in their order
    std::int32_t new_items = 0;
    bool ok = true;
    std::string error = {};  ///< why the feed was not loaded, or its items not stored
};

/// What a run has done, as the database tells it.
struct RunResult {
    std::optional<std::int32_t> session;
    std::optional<DateTime> start;
    std::optional<DateTime> end;
    bool cancelled = false;
    bool nothing_matched = false;
    std::vector<ChannelResult> channels;
    std::int32_t failed = 0;
    std::int32_t new_items = 0;
    std::vector<std::string> errors;
};

/// "8 channels, 2 failed, 35 new items"
std::string Summary(const RunResult& run);

/// The run as a JSON document; every character outside ASCII is escaped, so that it can be shown anywhere.
std::string RunDocument(const RunResult& run);

/// Follows the log and session rows of one run on an open database.
class RunResultReader final {
public:
    /// To be made before the run starts.
    explicit RunResultReader(const DE1& database);

    /// The current row of rsAllChannels.
    ChannelResult CurrentChannel() const;
    /// Adds a channel to the run, with what its new log rows say.
    const ChannelResult& Add(ChannelResult result, RunResult& run);
    /// Adds what the run wrote of itself, when it has ended.
    void Finish(RunResult& run);

private:
    void ReadNewRows(ChannelResult& result);

    const DE1& database_;
    Command new_rows_;
};

}  // namespace pellago::cli
