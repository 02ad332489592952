#pragma once

#include "engine/update_run.h"
#include "store/de1.h"

namespace pellago {

/// Gives an engine what it works on. Providers and channels are read afresh. `run` is called with each
/// statement and decides what becomes of its failure.
///
/// The file's write lock is taken once to see that it can be: better now than after the first feed is
/// fetched.
template <class Run>
void InitDBObjects(Run&& run, CDBUpdate& engine, const DE1& database) {
    const auto fresh = [&](const char* name) {
        auto rows = database.Recordsets(name);
        if (rows->IsOpen()) rows->Close();
        rows->Open();
        return rows;
    };
    const auto opened = [&](const char* name) {
        auto rows = database.Recordsets(name);
        if (!rows->IsOpen()) rows->Open();
        return rows;
    };
    run([&] {
        database.CnnRSS()->BeginWrites();
        database.CnnRSS()->CommitWrites();
    });
    run([&] { engine.ProvidersRecordSet(fresh("rsAllProviders")); });
    run([&] { engine.ChannelsRecordSet(fresh("rsAllChannels")); });
    run([&] { engine.DownloadLog(opened("rsDownloadLog")); });
    run([&] { engine.DownloadSessions(opened("rsDownloadSessions")); });
    run([&] { engine.ItemSearchByLinkCommand(database.Commands("cmdSearchItemByLink")); });
    run([&] { engine.ItemSearchFullCommand(database.Commands("cmdFullSearchItem")); });
    run([&] { engine.ItemAddCommand(database.Commands("cmdAddItem")); });
}

}  // namespace pellago
