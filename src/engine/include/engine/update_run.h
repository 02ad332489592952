#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "infra/guarded_routine.h"
#include "infra/timer.h"
#include "platform/data/command.h"
#include "platform/data/recordset.h"
#include "platform/values/variant.h"

namespace pellago {

class ClsItem;
class clsChannel;

/// What a run tells its owner, in the declared order. Everything runs on the caller's thread, inside the
/// entry operation; handlers may call CDBUpdate::Cancel. Texts come from feeds and may hold anything.
///
/// Order and count:
///   full run       (OnProvider provider-run)* [OnStatusText "Download cancelled"], OnTimer once a second
///   meanwhile one provider   OnProvider(name, 1, 1) provider-run, or nothing when the id is unknown
///   provider-run   (OnChannel OnItemProgress(0) OnStatusText("") items [OnChannelError] OnChannelDone)*
///   one channel    OnChannel(name, 1, 1) items OnChannelDone, or nothing when the id is unknown
///   items          (OnStatusText("Storing: " title) OnItemProgress(percent))* for each item of a loaded feed
/// OnChannelError comes only when the feed could not be loaded, and then there are no items.
class CDBUpdateEvents {
public:
    virtual ~CDBUpdateEvents() = default;
    virtual void OnStatusText(const std::string& /*text*/) {}
    virtual void OnItemProgress(std::int32_t /*percent*/) {}
    virtual void OnProvider(const std::string& /*name*/, std::int32_t /*index*/, std::int32_t /*count*/) {}
    virtual void OnChannel(const std::string& /*name*/, std::int32_t /*index*/, std::int32_t /*count*/) {}
    virtual void OnChannelDone(const Variant& /*name*/, std::int32_t /*channel_id*/) {}
    /// Whole seconds since the run's start.
    virtual void OnTimer(std::int32_t /*seconds*/) {}
    virtual void OnChannelError(const std::string& /*feed_url*/, std::int32_t /*channel_id*/,
                                const std::string& /*channel_name*/, const std::string& /*error_text*/) {}
};

/// Result codes of DownloadLog rows, the keys of ErrorMessages.
namespace result_code {
inline constexpr std::int32_t kNotLoaded = 3;
inline constexpr std::int32_t kLoaded = 4;
inline constexpr std::int32_t kStored = 5;
inline constexpr std::int32_t kCancelled = 7;
inline constexpr std::int32_t kNothingToDo = 9;
inline constexpr std::int32_t kStoringFailed = 10;
}  // namespace result_code

/// The download engine. One object performs one run: give it recordsets and commands, call one entry
/// operation, read Cancel, release it. The rows of a channel are committed before its OnChannelDone.
/// The walk is in update_run.cpp, the storing of items in item_reconciliation.cpp.
class CDBUpdate final : private iTimer {
public:
    /// `events` must outlive the engine.
    explicit CDBUpdate(CDBUpdateEvents& events);
    ~CDBUpdate() override;

    /// Whether a run takes only active providers and channels; true at the start.
    bool OnlyActive() const { return only_active_; }
    void OnlyActive(bool only_active) { only_active_ = only_active; }

    /// Cancel(true) stops the feed being loaded at once, and the run after the present channel. A load that
    /// begins later, in the same channel, is not stopped. An entry operation begins with Cancel(false).
    bool Cancel() const { return cancel_; }
    void Cancel(bool cancel);

    /// A recordset that is not open is opened; failures of that show at its first use.
    const std::shared_ptr<Recordset>& ProvidersRecordSet() const { return providers_; }
    void ProvidersRecordSet(std::shared_ptr<Recordset> recordset);
    const std::shared_ptr<Recordset>& ChannelsRecordSet() const { return channels_; }
    void ChannelsRecordSet(std::shared_ptr<Recordset> recordset);
    const std::shared_ptr<Recordset>& DownloadLog() const { return log_; }
    void DownloadLog(std::shared_ptr<Recordset> recordset);
    const std::shared_ptr<Recordset>& DownloadSessions() const { return sessions_; }
    void DownloadSessions(std::shared_ptr<Recordset> recordset);

    const std::shared_ptr<Command>& ItemSearchByLinkCommand() const { return search_by_link_; }
    void ItemSearchByLinkCommand(std::shared_ptr<Command> command) { search_by_link_ = std::move(command); }
    const std::shared_ptr<Command>& ItemSearchFullCommand() const { return search_full_; }
    void ItemSearchFullCommand(std::shared_ptr<Command> command) { search_full_ = std::move(command); }
    const std::shared_ptr<Command>& ItemAddCommand() const { return add_item_; }
    void ItemAddCommand(std::shared_ptr<Command> command) { add_item_ = std::move(command); }

    /// Why the last channel's feed was not loaded; empty when it was. For OnChannelError and OnChannelDone.
    const std::string& LoadError() const;

    // The entry operations. Each blocks until its run has ended. While a feed is loaded, and after each item,
    // it turns the message loop: anything may be called meanwhile, Cancel above all, but no entry operation
    // of the same engine.

    /// All providers, or, with OnlyActive, the active ones. Never throws: a statement that fails is passed
    /// over. Inside a provider the error handler is asked about it; after an abort the next provider follows.
    void Update();
    /// That provider, active or not; of its channels all, or, with OnlyActive, the active ones. Never throws,
    /// as Update.
    void UpdateOnlyOneProvider(std::int32_t provider_id);
    /// That channel, active or not. The error handler is asked about a statement that fails; only where the
    /// handler itself fails an error is thrown.
    void UpdateOnlyOneChannel(std::int32_t channel_id);

private:
    void iTimer_Fire(std::int32_t elapsed_ms) override;

    void ReadAhead();
    std::string ChannelFilter(std::int32_t provider_id) const;
    void WalkProviders(Statements& run, std::int32_t count);
    void UpdateProvider(std::int32_t provider_id);
    enum class RunKind { kProvider, kOneChannel };
    /// The current row of the channels; `index` and `count` for OnChannel.
    void UpdateChannel(Statements& run, RunKind kind, std::int32_t index, std::int32_t count);
    void KeepFeed(Statements& run, std::int32_t channel_id);

    void OpenSession();
    void CloseSession();
    void WriteDownloadLog(std::int32_t channel_id, std::int32_t result, bool error, std::int32_t new_items,
                          std::int32_t updated_items);

    void StoreChannelItems(std::int32_t channel_id);
    /// True when the item was new.
    bool StoreItem(Statements& run, std::int32_t channel_id, const ClsItem& item);
    bool IsKnown(std::int32_t channel_id, const ClsItem& item);
    void AddItem(std::int32_t channel_id, const ClsItem& item);
    void RefreshChannelRow();

    CDBUpdateEvents& events_;
    std::unique_ptr<clsChannel> loader_;
    std::unique_ptr<cTimer> timer_;
    std::shared_ptr<Recordset> providers_;
    std::shared_ptr<Recordset> channels_;
    std::shared_ptr<Recordset> sessions_;
    std::shared_ptr<Recordset> log_;
    std::shared_ptr<Command> search_by_link_;
    std::shared_ptr<Command> search_full_;
    std::shared_ptr<Command> add_item_;
    bool cancel_ = false;
    bool only_active_ = true;
};

}  // namespace pellago
