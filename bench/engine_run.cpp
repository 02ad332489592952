#include "engine_run.h"

#include "store/schema.h"

namespace pellago::bench {

void MakeDatabase(const std::string& path, const std::vector<std::string>& addresses) {
    CreateDatabase(path);
    Connection database;
    database.DataSource(path);
    database.BeginWrites();
    int id = 0;
    for (const auto& address : addresses) {
        const auto provider = std::to_string(id / 100 + 1);
        if (id++ % 100 == 0)
            database.Execute("INSERT INTO Providers (ID, Provider) VALUES (" + provider + ", 'P" + provider +
                             "')");
        database.Execute("INSERT INTO Channels (ID, Channel, httpRSSFile, Provider) VALUES (" +
                         std::to_string(id) + ", 'C', '" + address + "', " + provider + ")");
    }
    database.CommitWrites();
}

EngineRun::EngineRun(const std::string& path) : database_(path) {
    engine_.ProvidersRecordSet(database_.Recordsets("rsAllProviders"));
    engine_.ChannelsRecordSet(database_.Recordsets("rsAllChannels"));
    engine_.DownloadLog(database_.Recordsets("rsDownloadLog"));
    engine_.DownloadSessions(database_.Recordsets("rsDownloadSessions"));
    engine_.ItemSearchByLinkCommand(database_.Commands("cmdSearchItemByLink"));
    engine_.ItemSearchFullCommand(database_.Commands("cmdFullSearchItem"));
    engine_.ItemAddCommand(database_.Commands("cmdAddItem"));
}

std::int32_t EngineRun::Stored() { return CLng(database_.CnnRSS()->Scalar("SELECT count(*) FROM News")); }

}  // namespace pellago::bench
