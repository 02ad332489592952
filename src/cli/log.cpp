#include "cli/verbs.h"
#include "database.h"
#include "json_text.h"
#include "listing.h"

namespace pellago::cli {
namespace {

// By key, which is the order of writing: as many rows are read as are printed, however old the log is.
std::string Query(const ListingOptions& options) {
    return "SELECT DownloadLog.id AS ID, DownloadLog.Session AS Session, DownloadLog.EventTime AS EventTime,"
           " DownloadLog.Channel AS ChannelID, Channels.Channel AS Channel, DownloadLog.Result AS Result,"
           " ErrorMessages.Message AS Message, DownloadLog.Error AS Error, DownloadLog.NewItems AS NewItems"
           " FROM DownloadLog LEFT JOIN Channels ON Channels.ID = DownloadLog.Channel"
           " LEFT JOIN ErrorMessages ON ErrorMessages.ID = DownloadLog.Result"
           " ORDER BY DownloadLog.id DESC LIMIT " +
           std::to_string(options.limit);
}

Json JsonOf(Recordset& row) {
    return {{"id", CLng(row.Value("ID"))},
            {"session", JsonNumber(row.Value("Session"))},
            {"time", JsonDate(row.Value("EventTime"))},
            {"channel", JsonNumber(row.Value("ChannelID"))},
            {"channelName", JsonString(row.Value("Channel"))},
            {"result", JsonNumber(row.Value("Result"))},
            {"message", JsonString(row.Value("Message"))},
            {"error", CBool(row.Value("Error"))},
            {"new", JsonNumber(row.Value("NewItems"))}};
}

/// "-" for an event of the whole run.
std::string ChannelText(Recordset& row) {
    const auto id = TextOf(row.Value("ChannelID"), "0");
    return id == "0" ? "-" : TextOf(row.Value("Channel"), "channel " + id);
}

void Print(const Context& context, Recordset& row) {
    PrintRow(context, {DateText(row.Value("EventTime")), TextOf(row.Value("Session"), "-"), ChannelText(row),
                       TextOf(row.Value("Message"), "result " + TextOf(row.Value("Result"))),
                       TextOf(row.Value("NewItems"), "0")});
}

}  // namespace

ExitStatus ListLog(const Context& context, const ListingOptions& options) {
    const auto database = OpenDatabase(context);
    Recordset rows(database->CnnRSS(), Query(options));
    rows.Open();
    return options.json ? PrintDocument(context, "log", rows, JsonOf) : PrintRows(context, rows, Print);
}

}  // namespace pellago::cli
