#include "cli/verbs.h"
#include "database.h"
#include "json_text.h"
#include "listing.h"

namespace pellago::cli {
namespace {

// The newest are found in the index that also serves the look-up of items, without a read of the news.
std::string Query(const ListingOptions& options) {
    return "SELECT News.ID AS ID, News.pubDate AS pubDate, News.Title AS Title, News.Link AS Link,"
           " News.Channel AS ChannelID, Channels.Channel AS Channel FROM (SELECT ID FROM News" +
           (options.channel ? " WHERE Channel = " + std::to_string(*options.channel) : std::string()) +
           " ORDER BY pubDate DESC, ID DESC LIMIT " + std::to_string(options.limit) +
           ") AS Newest JOIN News ON News.ID = Newest.ID LEFT JOIN Channels ON Channels.ID = News.Channel"
           " ORDER BY News.pubDate DESC, News.ID DESC";
}

Json JsonOf(Recordset& row) {
    return {{"id", CLng(row.Value("ID"))},
            {"date", JsonDate(row.Value("pubDate"))},
            {"channel", JsonNumber(row.Value("ChannelID"))},
            {"channelName", JsonString(row.Value("Channel"))},
            {"title", JsonString(row.Value("Title"))},
            {"link", JsonString(row.Value("Link"))}};
}

void Print(const Context& context, Recordset& row) {
    PrintRow(context, {DateText(row.Value("pubDate")), TextOf(row.Value("Channel"), "<no name>"),
                       TextOf(row.Value("Title")), TextOf(row.Value("Link"))});
}

}  // namespace

ExitStatus ListNews(const Context& context, const ListingOptions& options) {
    const auto database = OpenDatabase(context);
    if (options.channel) RequireRow(*database->CnnRSS(), "Channels", "channel", *options.channel);
    Recordset rows(database->CnnRSS(), Query(options));
    rows.Open();
    return options.json ? PrintDocument(context, "news", rows, JsonOf) : PrintRows(context, rows, Print);
}

}  // namespace pellago::cli
