#include "engine/update_run.h"

#include <utility>
#include <vector>

#include "feeds/channel.h"
#include "handed_over.h"
#include "infra/error_handler.h"
#include "infra/errors_to_file.h"
#include "infra/process_objects.h"

namespace pellago {
namespace {

constexpr std::int32_t kTickInterval = 1000;  // milliseconds

/// The convention of the full run and the provider run: a line to the log, when that is on, and the next
/// statement.
std::function<Decision()> LogAndGoOn(const char* routine) {
    return [routine] {
        if (gErrorsToFile)
            WriteErrorsLog(std::string(routine) + ": " + Err().description + " in " +
                           std::to_string(Err().line));
        return Decision::kIgnore;
    };
}

std::string NameOf(const std::shared_ptr<Recordset>& recordset, std::string_view field) {
    const auto name = HandedOver(recordset).Value(field);
    return IsNull(name) ? "<no name>" : CStr(name);
}

std::string AddressOf(Recordset& channels) {
    const auto address = channels.Value("httpRSSFile");
    return IsNull(address) ? std::string() : CStr(address);
}

/// Another recordset with the rows that `rows` would show under a filter; `rows` stays where it is.
std::unique_ptr<Recordset> SameRows(const Recordset& rows, const std::string& filter) {
    auto same = std::make_unique<Recordset>(rows.ActiveConnection(), rows.Source());
    same->Open();
    same->Filter(filter);
    same->Sort(rows.Sort());
    return same;
}

/// Whether there is a row to go on with. A recordset that fails has none, so that no walk can go on for ever.
bool HasRow(Statements& run, const std::shared_ptr<Recordset>& recordset) {
    return run([&] { return !HandedOver(recordset).Eof(); });
}

bool MoveNext(Statements& run, const std::shared_ptr<Recordset>& recordset) {
    return run([&] {
        HandedOver(recordset).MoveNext();
        return true;
    });
}

/// Commits at the end of a scope that may be left by an abort: what has been stored stays. Writes that cannot
/// be committed are rolled back, so that the write lock is free.
class CommitAtEnd final {
public:
    explicit CommitAtEnd(Connection& connection) : connection_(connection) {}
    ~CommitAtEnd() {
        IgnoringErrors([this](Statements& run) {
            run([this] { connection_.CommitWrites(); });
            run([this] { connection_.RollbackWrites(); });
        });
    }
    CommitAtEnd(const CommitAtEnd&) = delete;
    CommitAtEnd& operator=(const CommitAtEnd&) = delete;

private:
    Connection& connection_;
};

void OpenIfClosed(const std::shared_ptr<Recordset>& recordset) {
    Try([&] {
        if (!HandedOver(recordset).IsOpen()) recordset->Open();
    });
}

}  // namespace

CDBUpdate::CDBUpdate(CDBUpdateEvents& events) : events_(events), loader_(std::make_unique<clsChannel>()) {}
CDBUpdate::~CDBUpdate() = default;

void CDBUpdate::Cancel(bool cancel) {
    cancel_ = cancel;
    loader_->CancelLoading();
}

const std::string& CDBUpdate::LoadError() const { return loader_->LoadError(); }

void CDBUpdate::ProvidersRecordSet(std::shared_ptr<Recordset> recordset) {
    providers_ = std::move(recordset);
    OpenIfClosed(providers_);
}

void CDBUpdate::ChannelsRecordSet(std::shared_ptr<Recordset> recordset) {
    channels_ = std::move(recordset);
    OpenIfClosed(channels_);
}

void CDBUpdate::DownloadLog(std::shared_ptr<Recordset> recordset) {
    log_ = std::move(recordset);
    OpenIfClosed(log_);
}

void CDBUpdate::DownloadSessions(std::shared_ptr<Recordset> recordset) {
    sessions_ = std::move(recordset);
    OpenIfClosed(sessions_);
}

void CDBUpdate::Update() {
    RunStatements(LogAndGoOn("CDBUpdate_Update"), [&](Statements& run) {
        run([&] {
            timer_ = std::make_unique<cTimer>();
            timer_->start(kTickInterval, *this);
        });
        run([&] { Cancel(false); });
        run([&] { OpenSession(); });
        if (only_active_) run([&] { HandedOver(providers_).Filter("Active = True"); });
        const auto count = run([&] { return HandedOver(providers_).RecordCount(); });
        if (count == 0)
            run([&] { WriteDownloadLog(0, result_code::kNothingToDo, false, 0, 0); });
        else
            WalkProviders(run, count);
        run([&] { CloseSession(); });
        run([&] { timer_.reset(); });
    });
}

// Addresses that cannot be read here are read again when their channel's turn has come, which fails then if
// it must.
void CDBUpdate::ReadAhead() {
    IgnoringErrors([&](Statements& run) {
        std::vector<std::string> addresses;
        run([&] {
            const auto providers = SameRows(HandedOver(providers_), providers_->Filter());
            for (; !providers->Eof(); providers->MoveNext()) {
                const auto channels =
                    SameRows(HandedOver(channels_), ChannelFilter(CLng(providers->Value("ID"))));
                for (; !channels->Eof(); channels->MoveNext()) addresses.push_back(AddressOf(*channels));
            }
        });
        run([&] { loader_->ReadAhead(addresses); });
    });
}

std::string CDBUpdate::ChannelFilter(std::int32_t provider_id) const {
    return "Provider = " + std::to_string(provider_id) + (only_active_ ? " AND Active = True" : "");
}

void CDBUpdate::WalkProviders(Statements& run, std::int32_t count) {
    ReadAhead();
    run([&] { HandedOver(providers_).MoveFirst(); });
    for (std::int32_t index = 1; HasRow(run, providers_); ++index) {
        run([&] { events_.OnProvider(NameOf(providers_, "Provider"), index, count); });
        run([&] { UpdateProvider(CLng(HandedOver(providers_).Value("ID"))); });
        const bool moved = MoveNext(run, providers_);
        if (cancel_) {
            run([&] { events_.OnStatusText("Download cancelled"); });
            run([&] { WriteDownloadLog(0, result_code::kCancelled, false, 0, 0); });
            return;
        }
        if (!moved) return;
    }
}

void CDBUpdate::UpdateOnlyOneProvider(std::int32_t provider_id) {
    RunStatements(LogAndGoOn("CDBUpdate_UpdateOnlyOneProvider"), [&](Statements& run) {
        run([&] { Cancel(false); });
        run([&] { OpenSession(); });
        run([&] { HandedOver(providers_).Filter("ID = " + std::to_string(provider_id)); });
        if (run([&] { return HandedOver(providers_).RecordCount(); }) == 0) {
            run([&] { WriteDownloadLog(0, result_code::kNothingToDo, false, 0, 0); });
        } else {
            ReadAhead();
            run([&] { events_.OnProvider(NameOf(providers_, "Provider"), 1, 1); });
            run([&] { UpdateProvider(CLng(HandedOver(providers_).Value("ID"))); });
        }
        run([&] { CloseSession(); });
    });
}

void CDBUpdate::UpdateProvider(std::int32_t provider_id) {
    Guarded("Corvane.CDBUpdate.UpdateProvider", [&](Statements& run) {
        run([&] { HandedOver(channels_).Filter(ChannelFilter(provider_id)); });
        const auto count = run([&] { return HandedOver(channels_).RecordCount(); });
        if (count == 0) return;
        run([&] { HandedOver(channels_).MoveFirst(); });
        for (std::int32_t index = 1; HasRow(run, channels_); ++index) {
            UpdateChannel(run, RunKind::kProvider, index, count);
            if (!MoveNext(run, channels_) || cancel_) return;
        }
    });
}

void CDBUpdate::UpdateOnlyOneChannel(std::int32_t channel_id) {
    Guarded("Corvane.CDBUpdate.UpdateOnlyOneChannel", [&](Statements& run) {
        run([&] { Cancel(false); });
        run([&] { OpenSession(); });
        run([&] { HandedOver(channels_).Filter("ID = " + std::to_string(channel_id)); });
        if (run([&] { return HandedOver(channels_).RecordCount(); }) == 0)
            run([&] { WriteDownloadLog(0, result_code::kNothingToDo, false, 0, 0); });
        else
            UpdateChannel(run, RunKind::kOneChannel, 1, 1);
        run([&] { CloseSession(); });
    });
}

void CDBUpdate::UpdateChannel(Statements& run, RunKind kind, std::int32_t index, std::int32_t count) {
    const auto name = run([&] { return NameOf(channels_, "Channel"); });
    const auto id = run([&] { return CLng(HandedOver(channels_).Value("ID")); });
    const auto address = run([&] { return AddressOf(HandedOver(channels_)); });
    run([&] { events_.OnChannel(name, index, count); });
    if (kind == RunKind::kProvider) {
        run([&] { events_.OnItemProgress(0); });
        run([&] { events_.OnStatusText(""); });
    }
    if (run([&] { return loader_->Load(address); })) {
        KeepFeed(run, id);
    } else {
        run([&] { gErrorHandler->Trace("Channel " + std::to_string(id) + " not loaded: " + LoadError()); });
        run([&] { WriteDownloadLog(id, result_code::kNotLoaded, true, 0, 0); });
        if (kind == RunKind::kProvider)
            run([&] { events_.OnChannelError(address, id, name, "Download error"); });
    }
    run([&] { events_.OnChannelDone(name, id); });
}

// All that a feed changes is written under one lock, which is free again before the owner hears of the
// channel's end and before the next feed is waited for.
void CDBUpdate::KeepFeed(Statements& run, std::int32_t channel_id) {
    const auto connection = run([&] { return HandedOver(log_).ActiveConnection(); });
    if (!connection) return;
    const CommitAtEnd commit_at_end(*connection);
    run([&] { connection->BeginWrites(); });
    run([&] { WriteDownloadLog(channel_id, result_code::kLoaded, false, 0, 0); });
    run([&] { StoreChannelItems(channel_id); });
    run([&] { RefreshChannelRow(); });
    run([&] { connection->CommitWrites(); });
}

void CDBUpdate::OpenSession() {
    auto& sessions = HandedOver(sessions_);
    sessions.AddNew();
    sessions.Value("StartTime", Now());
    sessions.Update();
}

void CDBUpdate::CloseSession() {
    auto& sessions = HandedOver(sessions_);
    sessions.Value("EndTime", Now());
    sessions.Update();
}

void CDBUpdate::WriteDownloadLog(std::int32_t channel_id, std::int32_t result, bool error,
                                 std::int32_t new_items, std::int32_t updated_items) {
    auto& log = HandedOver(log_);
    log.ActiveConnection()->ClearErrors();
    log.AddNew();
    log.Value("Session", HandedOver(sessions_).Value("ID"));
    log.Value("Channel", channel_id);
    log.Value("Result", result);
    log.Value("Error", error);
    log.Value("EventTime", Now());
    log.Value("NewItems", new_items);
    log.Value("UpdatedItems", updated_items);
    log.Update();
}

void CDBUpdate::iTimer_Fire(std::int32_t elapsed_ms) {
    events_.OnTimer(CLng(static_cast<double>(elapsed_ms) / 1000));
}

}  // namespace pellago
