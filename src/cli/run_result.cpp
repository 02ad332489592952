#include "run_result.h"

#include <algorithm>

#include "database.h"
#include "engine/update_run.h"
#include "infra/guarded_routine.h"
#include "json_text.h"

namespace pellago::cli {
namespace {

// A channel's log rows after the last one read, found by key: neither the age of the log nor the length of
// the run counts. Without the "+" the index on channels would be taken, and all rows of the channel be read.
constexpr const char* kNewRows =
    "SELECT id, Result, NewItems, Error FROM DownloadLog WHERE id > @After AND Session = @Session AND "
    "+Channel = @Channel ORDER BY id";

Recordset& Sessions(const DE1& database) { return *database.Recordsets("rsDownloadSessions"); }

std::optional<DateTime> DateOf(const Variant& value) {
    if (IsNull(value)) return std::nullopt;
    return CDate(value);
}

Json JsonOf(const ChannelResult& channel) {
    Json json{{"id", channel.id}, {"name", channel.name},     {"address", channel.address},
              {"ok", channel.ok}, {"new", channel.new_items}, {"results", channel.codes}};
    if (!channel.error.empty()) json["error"] = channel.error;
    return json;
}

Json JsonOf(const std::optional<DateTime>& date) { return date ? Json(ColumnText(*date)) : Json(); }

std::string Counted(std::size_t count, const std::string& what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

std::string Summary(const RunResult& run) {
    return Counted(run.channels.size(), "channel") + ", " + std::to_string(run.failed) + " failed, " +
           Counted(static_cast<std::size_t>(run.new_items), "new item") + (run.cancelled ? ", stopped" : "");
}

std::string RunDocument(const RunResult& run) {
    auto channels = Json::array();
    for (const auto& channel : run.channels) channels.push_back(JsonOf(channel));
    const auto count = static_cast<std::int32_t>(run.channels.size());
    return JsonText(
        {{"schema", 1},
         {"session", run.session ? Json(*run.session) : Json()},
         {"start", JsonOf(run.start)},
         {"end", JsonOf(run.end)},
         {"cancelled", run.cancelled},
         {"totals",
          {{"channels", count}, {"ok", count - run.failed}, {"failed", run.failed}, {"new", run.new_items}}},
         {"channels", std::move(channels)},
         {"errors", run.errors}});
}

RunResultReader::RunResultReader(const DE1& database)
    : database_(database),
      new_rows_(database.CnnRSS(), "NewLogRows", kNewRows,
                {{"@After", ParameterType::kInteger, 0, {}},
                 {"@Session", ParameterType::kInteger, 0, {}},
                 {"@Channel", ParameterType::kInteger, 0, {}}}) {
    const auto last = database.CnnRSS()->Scalar("SELECT MAX(id) FROM DownloadLog");
    new_rows_["After"].value = IsNull(last) ? Variant(0) : last;
}

ChannelResult RunResultReader::CurrentChannel() const {
    auto& row = *database_.Recordsets("rsAllChannels");
    return {CLng(row.Value("ID")), TextOf(row.Value("Channel"), "<no name>"),
            TextOf(row.Value("httpRSSFile"))};
}

const ChannelResult& RunResultReader::Add(ChannelResult result, RunResult& run) {
    ReadNewRows(result);
    if (result.ok) result.error.clear();
    if (!result.ok && result.error.empty()) result.error = "items could not be stored";
    if (!result.ok) ++run.failed;
    run.new_items += result.new_items;
    return run.channels.emplace_back(std::move(result));
}

void RunResultReader::Finish(RunResult& run) {
    // A session whose row could not be written has no key.
    Try([&] {
        run.session = CLng(Sessions(database_).Value("ID"));
        // The times as they are stored: the recordset's own row also holds what could not be written.
        Recordset stored(database_.CnnRSS(), database_.Recordsets("rsDownloadSessions")->Source());
        stored.Open();
        stored.Filter("ID = " + std::to_string(*run.session));
        run.start = DateOf(stored.Value("StartTime"));
        run.end = DateOf(stored.Value("EndTime"));
        ChannelResult of_the_run;
        ReadNewRows(of_the_run);
        run.nothing_matched = std::ranges::count(of_the_run.codes, result_code::kNothingToDo) > 0;
    });
}

void RunResultReader::ReadNewRows(ChannelResult& result) {
    new_rows_["Session"].value = Sessions(database_).Value("ID");
    new_rows_["Channel"].value = result.id;
    const auto rows = new_rows_.Execute();
    for (; !rows->Eof(); rows->MoveNext()) {
        new_rows_["After"].value = rows->Value("id");
        result.codes.push_back(CLng(rows->Value("Result")));
        result.new_items += CLng(rows->Value("NewItems"));
        if (CBool(rows->Value("Error"))) result.ok = false;
    }
}

}  // namespace pellago::cli
