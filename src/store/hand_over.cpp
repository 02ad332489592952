#include "store/hand_over.h"

#include "engine/update_run.h"
#include "infra/guarded_routine.h"
#include "store/de1.h"

namespace pellago {
namespace {

std::shared_ptr<Recordset> Fresh(const DE1& database, const char* name) {
    auto rows = database.Recordsets(name);
    if (rows->IsOpen()) rows->Close();
    rows->Open();
    return rows;
}

std::shared_ptr<Recordset> Opened(const DE1& database, const char* name) {
    auto rows = database.Recordsets(name);
    if (!rows->IsOpen()) rows->Open();
    return rows;
}

}  // namespace

void HandOver(Statements& run, CDBUpdate& engine, const DE1& database) {
    run([&] {
        database.CnnRSS()->BeginWrites();
        database.CnnRSS()->CommitWrites();
    });
    run([&] { engine.ProvidersRecordSet(Fresh(database, "rsAllProviders")); });
    run([&] { engine.ChannelsRecordSet(Fresh(database, "rsAllChannels")); });
    run([&] { engine.DownloadLog(Opened(database, "rsDownloadLog")); });
    run([&] { engine.DownloadSessions(Opened(database, "rsDownloadSessions")); });
    run([&] { engine.ItemSearchByLinkCommand(database.Commands("cmdSearchItemByLink")); });
    run([&] { engine.ItemSearchFullCommand(database.Commands("cmdFullSearchItem")); });
    run([&] { engine.ItemAddCommand(database.Commands("cmdAddItem")); });
}

}  // namespace pellago
