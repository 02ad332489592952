#include "store/schema.h"

#include <array>

#include "platform/data/connection.h"

namespace pellago {
namespace {

constexpr const char* kErrorSource = "DE1";

// Also completes a database that has our tables and no number, as one restored from a text dump. Keys that
// other rows name are never given out again: news and log rows outlive the channel or session they name.
// News(Channel, Link) and News(Channel, pubDate, Title) serve the look-ups of an item.
constexpr const char* kFirstSchema = R"(
CREATE TABLE IF NOT EXISTS Providers (
    ID INTEGER PRIMARY KEY AUTOINCREMENT,
    Provider TEXT,
    HomePage TEXT,
    Notes TEXT,
    Active BOOLEAN NOT NULL DEFAULT 1 CHECK (Active IN (0, 1)));
CREATE INDEX IF NOT EXISTS ProvidersProvider ON Providers (Provider);

CREATE TABLE IF NOT EXISTS Channels (
    ID INTEGER PRIMARY KEY AUTOINCREMENT,
    Channel TEXT,
    httpRSSFile TEXT,
    lastBuildDate DATETIME,
    Link TEXT,
    Provider INTEGER,
    Active BOOLEAN NOT NULL DEFAULT 1 CHECK (Active IN (0, 1)),
    Copyright TEXT,
    Description TEXT,
    imagelink TEXT,
    imagetitle TEXT,
    imageurl TEXT);
CREATE INDEX IF NOT EXISTS ChannelsProvider ON Channels (Provider);
CREATE INDEX IF NOT EXISTS ChannelsRSSFile ON Channels (httpRSSFile);

CREATE TABLE IF NOT EXISTS News (
    ID INTEGER PRIMARY KEY,
    pubDate DATETIME,
    Title TEXT,
    Description TEXT,
    Link TEXT,
    Channel INTEGER,
    guid TEXT,
    IsRead INTEGER NOT NULL DEFAULT 0);
CREATE INDEX IF NOT EXISTS NewsLink ON News (Channel, Link);
CREATE INDEX IF NOT EXISTS NewsDate ON News (Channel, pubDate, Title);

CREATE TABLE IF NOT EXISTS DownloadSessions (
    ID INTEGER PRIMARY KEY AUTOINCREMENT,
    StartTime DATETIME,
    EndTime DATETIME);

CREATE TABLE IF NOT EXISTS DownloadLog (
    id INTEGER PRIMARY KEY,
    Session INTEGER,
    Channel INTEGER,
    Result INTEGER,
    Error BOOLEAN NOT NULL DEFAULT 0 CHECK (Error IN (0, 1)),
    EventTime DATETIME,
    NewItems INTEGER,
    UpdatedItems INTEGER);
CREATE INDEX IF NOT EXISTS DownloadLogTime ON DownloadLog (EventTime);

CREATE TABLE IF NOT EXISTS ErrorMessages (
    ID INTEGER PRIMARY KEY,
    Message TEXT);
INSERT OR IGNORE INTO ErrorMessages (ID, Message) VALUES
    (3, 'The feed could not be loaded.'),
    (4, 'The feed was loaded.'),
    (5, 'The items were stored.'),
    (7, 'The download was cancelled.'),
    (9, 'There was nothing to download.'),
    (10, 'An error occurred while the items were stored.');
)";

// Indexes for the log of one channel, newest first.
constexpr const char* kSecondSchema = R"(
CREATE INDEX IF NOT EXISTS ChannelsChannel ON Channels (Channel);
CREATE INDEX IF NOT EXISTS DownloadLogChannel ON DownloadLog (Channel, EventTime);
)";

/// The statements that lead from each schema to the next; their count is the number of the present schema.
constexpr std::array kSteps = {kFirstSchema, kSecondSchema};
constexpr auto kSchemaNumber = static_cast<std::int32_t>(kSteps.size());

std::int32_t SchemaNumber(Connection& connection) { return CLng(connection.Scalar("PRAGMA user_version")); }

[[noreturn]] void Raise(std::int32_t number, const Connection& connection, const std::string& text) {
    throw RunTimeError(number, kErrorSource, "The database \"" + connection.DataSource() + "\" " + text);
}

void RequireOurTables(Connection& connection) {
    const auto count = connection.Scalar(
        "SELECT COUNT(*) FROM sqlite_schema WHERE type = 'table' AND name IN"
        " ('Providers', 'Channels', 'News', 'DownloadSessions', 'DownloadLog')");
    if (CLng(count) != 5) Raise(data_error::kNotADatabase, connection, "is not a news database.");
}

}  // namespace

void TakeSchemaSteps(Connection& connection) {
    connection.BeginWrites();
    // Another process may have taken some of the steps while this one waited for the lock.
    for (auto number = SchemaNumber(connection); number < kSchemaNumber; ++number)
        connection.Execute(kSteps.at(static_cast<std::size_t>(number)));
    connection.Execute("PRAGMA user_version = " + std::to_string(kSchemaNumber));
    connection.CommitWrites();
}

void UpgradeSchema(Connection& connection) {
    RequireOurTables(connection);
    const auto number = SchemaNumber(connection);
    if (number > kSchemaNumber)
        Raise(data_error::kNewerSchema, connection,
              "was made by a newer version of this program (its schema is number " + std::to_string(number) +
                  ", this version knows " + std::to_string(kSchemaNumber) + ").");
    if (number < kSchemaNumber) TakeSchemaSteps(connection);
}

}  // namespace pellago
