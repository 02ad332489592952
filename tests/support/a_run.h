#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/update_run.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "store/database_file.h"
#include "store/de1.h"
#include "store/hand_over.h"
#include "support/http_server.h"
#include "support/support.h"

namespace pellago::test {

/// Keeps every event as a line, and does what a test asks for in the middle of the run.
class EventList final : public CDBUpdateEvents {
public:
    void OnStatusText(const std::string& text) override { Keep("status " + text); }
    void OnItemProgress(std::int32_t percent) override { Keep("items " + std::to_string(percent)); }
    void OnProvider(const std::string& name, std::int32_t index, std::int32_t count) override {
        Keep("provider " + name + " " + std::to_string(index) + "/" + std::to_string(count));
    }
    void OnChannel(const std::string& name, std::int32_t index, std::int32_t count) override {
        Keep("channel " + name + " " + std::to_string(index) + "/" + std::to_string(count));
    }
    void OnChannelDone(const Variant& name, std::int32_t id) override {
        Keep("done " + CStr(name) + " " + std::to_string(id));
    }
    void OnTimer(std::int32_t seconds) override { timer.push_back(seconds); }
    void OnChannelError(const std::string& url, std::int32_t id, const std::string& name,
                        const std::string& text) override {
        Keep("error " + url + " " + std::to_string(id) + " " + name + " " + text);
    }

    std::vector<std::string> lines;
    std::vector<std::int32_t> timer;
    std::function<void(const std::string& line)> meanwhile;

private:
    void Keep(const std::string& line) {
        lines.push_back(line);
        if (meanwhile) meanwhile(line);
    }
};

/// A database, a server with feeds, and an engine between them.
class ARun : public testing::Test {
protected:
    ARun()
        : home_("PELLAGO_HOME", folder_.Path().string()),
          config_("XDG_CONFIG_HOME", folder_.Path().string()),
          cache_("XDG_CACHE_HOME", folder_ / "cache") {
        CreateProcessObjects();
        UseErrorDialog([this](const std::string& report, const std::string& /*support_mail*/) {
            reports.push_back(report);
            return 0;
        });
        NewDatabase();
    }
    ~ARun() override { UseErrorDialog({}); }

    /// An empty one in place of what was there.
    void NewDatabase() {
        database.reset();
        for (const char* name : {"RSS.MDB", "RSS.MDB-wal", "RSS.MDB-shm"})
            std::filesystem::remove(folder_ / name);
        CreateDatabase(folder_ / "RSS.MDB");
        database = std::make_unique<DE1>(folder_ / "RSS.MDB");
    }

    void AddProvider(std::int32_t id, const std::string& name_sql, bool active = true) {
        database->CnnRSS()->Execute("INSERT INTO Providers (ID, Provider, Active) VALUES (" +
                                    std::to_string(id) + ", " + name_sql + ", " + (active ? "1" : "0") + ")");
    }
    void AddChannel(std::int32_t id, std::int32_t provider, const std::string& address, bool active = true) {
        database->CnnRSS()->Execute(
            "INSERT INTO Channels (ID, Channel, httpRSSFile, Provider, Active) VALUES (" +
            std::to_string(id) + ", 'c" + std::to_string(id) + "', '" + address + "', " +
            std::to_string(provider) + ", " + (active ? "1" : "0") + ")");
    }
    /// Provider 1 with channels 1, 2, … at paths of the server.
    void Subscribe(const std::vector<std::string>& paths) {
        AddProvider(1, "'p1'");
        std::int32_t id = 0;
        for (const auto& path : paths) AddChannel(++id, 1, server.Url(path));
    }

    std::unique_ptr<CDBUpdate> Engine(DE1& on) {
        auto engine = std::make_unique<CDBUpdate>(events);
        RaisingErrors([&](Statements& run) { HandOver(run, *engine, on); });
        return engine;
    }
    std::unique_ptr<CDBUpdate> Engine() { return Engine(*database); }

    /// First column of all rows, as text; Null is "-".
    std::vector<std::string> Column(const std::string& sql) {
        Recordset rows(database->CnnRSS(), sql);
        rows.Open();
        const auto field = rows.FieldNames().at(0);
        std::vector<std::string> values;
        for (; !rows.Eof(); rows.MoveNext()) {
            const auto value = rows.Value(field);
            values.push_back(IsNull(value) ? "-" : CStr(value));
        }
        return values;
    }
    /// "channel:result:error:new" of each log row in the order of writing.
    std::vector<std::string> Log() {
        return Column(
            "SELECT Channel || ':' || Result || ':' || Error || ':' || NewItems AS Row FROM DownloadLog "
            "ORDER BY id");
    }
    std::vector<std::string> Titles() { return Column("SELECT Title FROM News ORDER BY ID"); }

    TempDir folder_;
    EnvVar home_;
    EnvVar config_;
    EnvVar cache_;
    HttpServer server;
    EventList events;
    std::vector<std::string> reports;
    std::unique_ptr<DE1> database;
};

inline std::string Item(const std::string& title, const std::string& link,
                        const std::string& date = "2003-06-10 04:00", const std::string& text = "text") {
    return "<item><title>" + title + "</title><link>" + link + "</link><pubDate>" + date +
           "</pubDate><guid>" + title + "</guid><description>" + text + "</description></item>";
}
inline std::string Feed(const std::string& items) {
    return "<rss><channel><title>feed</title><lastBuildDate>2003-06-11 04:00</lastBuildDate>" + items +
           "</channel></rss>";
}

}  // namespace pellago::test
