#include "engine_run.h"

#include "engine/run_objects.h"
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
    InitDBObjects([](auto&& statement) { statement(); }, engine_, database_);
}

std::int32_t EngineRun::Stored() { return CLng(database_.CnnRSS()->Scalar("SELECT count(*) FROM News")); }

}  // namespace pellago::bench
