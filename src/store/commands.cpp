#include "commands.h"

namespace pellago {
namespace {

constexpr std::int32_t kTextSize = 510;
constexpr std::int32_t kLongTextSize = 10240;

Parameter Text(const char* name, std::int32_t size = kTextSize) {
    return {name, ParameterType::kText, size, {}};
}
Parameter LongText(const char* name) { return Text(name, kLongTextSize); }
Parameter Integer(const char* name) { return {name, ParameterType::kInteger, 0, {}}; }
Parameter Date(const char* name) { return {name, ParameterType::kDate, 0, {}}; }
Parameter TimeStamp(const char* name) { return {name, ParameterType::kTimeStamp, 0, {}}; }

}  // namespace

// clang-format off
const std::vector<CommandDeclaration>& DeclaredCommands() {
    static const std::vector<CommandDeclaration> commands = {
        {"AllProviders", true,
         "SELECT ID, Provider, HomePage, Notes, Active FROM Providers ",
         {}},
        {"AllChannels", true,
         "SELECT ID, Channel, httpRSSFile, lastBuildDate, Link, Provider, Active, Copyright, "
         "Description, imagelink, imagetitle, imageurl FROM Channels",
         {}},
        {"CmdSearchNews", true,
         "SELECT ID, Link, pubDate, Title, Description, Channel, `guid` FROM News WHERE (Channel = "
         "@Channel) AND (`guid` = @GUID)",
         {Text("@Channel"), Text("@GUID")}},
        {"DownloadSessions", true,
         "SELECT ID, StartTime, EndTime FROM DownloadSessions",
         {}},
        {"DownloadLog", true,
         "SELECT DownloadLog.* FROM DownloadLog",
         {}},
        {"ViewDownloadLog", true,
         "SELECT DownloadLog.id, Channels.Channel, DownloadLog.EventTime, DownloadLog.Result, "
         "DownloadLog.Error FROM DownloadLog, Channels WHERE DownloadLog.Channel = Channels.ID "
         "ORDER BY DownloadLog.id DESC",
         {}},
        {"News", true,
         "SELECT ID, pubDate, Title, Description, Link, Channel, `guid` FROM News ORDER BY pubDate "
         "DESC",
         {}},
        {"UpdateNews", true,
         "SELECT ID, Channel, Description, `guid`, Link, pubDate, Title FROM News",
         {}},
        {"cmdSeachChannel", true,
         "SELECT ID, httpRSSFile, Description, Channel FROM Channels WHERE httpRSSFile = @RSSFile",
         {Text("RSSFile")}},
        {"cmdSearchItemByLink", true,
         "SELECT id FROM News WHERE Channel = @Channel  AND Link = @Link",
         {Text("Channel"), Text("Link")}},
        {"cmdFullSearchItem", true,
         "SELECT id FROM News WHERE Channel = @Channel AND pubDate = @Date AND Title = @Title AND "
         "Description = @Description",
         {Integer("Channel"), Date("Date"), Text("Title"), LongText("Description")}},
        {"cmdAddItem", false,
         "INSERT INTO News (pubDate, Title, Description, Link, Channel, [guid]) VALUES (@Date, "
         "@Title, @Description, @Link, @Channel, @Guid)",
         {Date("Date"), Text("Title"), LongText("Description"), Text("Link"), Integer("Channel"),
          Text("Guid")}},
        {"cmdUpdateItem", false,
         "UPDATE News SET pubDate = @Date, Title = @Title, Description = @Description, Link = "
         "@Link, Channel = @Channel, [guid] = @Guid WHERE ID = @ID",
         {TimeStamp("Date"), Text("Title"), Text("Description"), Text("Link"), Integer("Channel"),
          Text("Guid"), Integer("ID")}},
        {"cmdAddChannel", false,
         "INSERT INTO Channels (Active, Channel, Copyright, Description, httpRSSFile, imagelink, "
         "imageurl, lastBuildDate, Link, Provider) VALUES "
         "(True,@Channel,@Copyright,@Description,@RSSFile,@ImageLink,@ImageUrl,@Date,@Link,@Provder)",
         {Text("Channel"), Text("Copyright"), Text("Description"), Text("RSSFile"), Text("ImageLink"),
          Text("ImageUrl"), TimeStamp("Date"), Text("Link"), Integer("Provder")}},
        {"cmdSeachProvider", true,
         "SELECT id FROM Providers WHERE Provider = @Title",
         {Text("Title")}},
        {"cmdAddProvider", false,
         "INSERT INTO Providers (Provider, Active, `Home page`) VALUES (@Title, True, @Link)",
         {Text("@Title"), Text("@Link")}},
        {"cmdUnreadNewsCount", true,
         "SELECT COUNT(ID) as UnreadNewsCount FROM News WHERE  IsRead = 0 AND Channel = ChannelID",
         {Text("ChannelID")}},
        {"cmdMarkItemAsRead", false,
         "Update News SET IsRead = -1 WHERE ID = @ItemID",
         {Integer("ItemID")}},
        {"ViewLog", true,
         "SELECT DownloadLog.EventTime, Channels.Channel, ErrorMessages.Message, "
         "DownloadLog.NewItems, DownloadLog.UpdatedItems, DownloadLog.Error FROM Channels, "
         "DownloadLog, ErrorMessages WHERE Channels.ID = DownloadLog.Channel AND DownloadLog.Result "
         "= ErrorMessages.ID ORDER BY DownloadLog.EventTime DESC",
         {}},
    };
    return commands;
}
// clang-format on

}  // namespace pellago
