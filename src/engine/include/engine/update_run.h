#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/data/command.h"
#include "platform/data/recordset.h"
#include "platform/variant.h"

namespace pellago {

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
class CDBUpdate final {
public:
    /// `events` must outlive the engine.
    explicit CDBUpdate(CDBUpdateEvents& events);
    ~CDBUpdate();
    CDBUpdate(const CDBUpdate&) = delete;
    CDBUpdate& operator=(const CDBUpdate&) = delete;

    /// True at the start: a full run takes only active providers and channels.
    bool OnlyActive() const;
    void OnlyActive(bool only_active);

    /// Setting it true stops the feed being loaded at once and the run after the present channel.
    bool Cancel() const;
    void Cancel(bool cancel);

    /// A recordset that is not open is opened; failures of that show at its first use.
    const std::shared_ptr<Recordset>& ProvidersRecordSet() const;
    void ProvidersRecordSet(std::shared_ptr<Recordset> recordset);
    const std::shared_ptr<Recordset>& ChannelsRecordSet() const;
    void ChannelsRecordSet(std::shared_ptr<Recordset> recordset);
    const std::shared_ptr<Recordset>& DownloadLog() const;
    void DownloadLog(std::shared_ptr<Recordset> recordset);
    const std::shared_ptr<Recordset>& DownloadSessions() const;
    void DownloadSessions(std::shared_ptr<Recordset> recordset);

    const std::shared_ptr<Command>& ItemSearchByLinkCommand() const;
    void ItemSearchByLinkCommand(std::shared_ptr<Command> command);
    const std::shared_ptr<Command>& ItemSearchFullCommand() const;
    void ItemSearchFullCommand(std::shared_ptr<Command> command);
    const std::shared_ptr<Command>& ItemAddCommand() const;
    void ItemAddCommand(std::shared_ptr<Command> command);

    void Update();
    void UpdateOnlyOneProvider(std::int32_t provider_id);
    void UpdateOnlyOneChannel(std::int32_t channel_id);

private:
    struct Run;
    std::unique_ptr<Run> run_;
};

}  // namespace pellago
