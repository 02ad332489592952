#include "made_database.h"

#include "platform/data/connection.h"
#include "store/database_file.h"

namespace pellago::bench {

void MakeDatabase(const std::string& path, const std::vector<std::string>& addresses) {
    CreateDatabase(path);
    Connection database;
    database.DataSource(path);
    database.Execute("BEGIN");
    int id = 0;
    for (const auto& address : addresses) {
        const auto provider = std::to_string(id / 100 + 1);
        if (id++ % 100 == 0)
            database.Execute("INSERT INTO Providers (ID, Provider) VALUES (" + provider + ", 'P" + provider +
                             "')");
        database.Execute("INSERT INTO Channels (ID, Channel, httpRSSFile, Provider) VALUES (" +
                         std::to_string(id) + ", 'C', '" + address + "', " + provider + ")");
    }
    database.Execute("COMMIT");
}

}  // namespace pellago::bench
