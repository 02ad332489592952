#include <optional>

#include "engine/update_run.h"
#include "feeds/channel.h"
#include "handed_over.h"
#include "infra/errors_to_file.h"
#include "platform/loop/message_loop.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::size_t kItemTitleLimit = 255;
constexpr std::size_t kCopyrightLimit = 255;
constexpr std::size_t kChannelTitleLimit = 100;

std::string StoredTitle(const ClsItem& item) { return Left(item.Title(), kItemTitleLimit); }

void SetDescription(Command& command, const ClsItem& item) {
    auto& parameter = command["Description"];
    parameter.value = Left(item.Description(), static_cast<std::size_t>(parameter.size));
}

std::int32_t Percent(std::size_t position, std::size_t count) {
    return CLng(static_cast<double>(position) / static_cast<double>(count) * 100);
}

}  // namespace

void CDBUpdate::StoreChannelItems(std::int32_t channel_id) {
    const auto items = loader_->Items().NewEnum();
    const ClsItem* current = nullptr;
    const auto log_and_go_on = [&] {
        if (gErrorsToFile)
            WriteErrorsLog("CDBUpdate_UpdateItems: " + Err().description + " in " +
                           std::to_string(Err().line) + " " + (current ? current->Description() : ""));
        WriteDownloadLog(channel_id, result_code::kStoringFailed, true, 0, 0);
        return Decision::kIgnore;
    };
    RunStatements(log_and_go_on, [&](Statements& run) {
        std::int32_t added = 0;
        std::size_t position = 1;
        for (const auto& item : items) {
            current = item.get();
            if (StoreItem(run, channel_id, *item)) ++added;
            run([&] { DoEvents(); });
            run([&] { events_.OnStatusText("Storing: " + item->Title()); });
            run([&] { events_.OnItemProgress(Percent(position, items.size())); });
            ++position;
        }
        run([&] { WriteDownloadLog(channel_id, result_code::kStored, false, added, 0); });
    });
}

bool CDBUpdate::StoreItem(Statements& run, std::int32_t channel_id, const ClsItem& item) {
    // An item whose look-up failed is not stored: it might stand there twice. The next run looks for it
    // again.
    const auto known = run([&] { return std::optional(IsKnown(channel_id, item)); });
    if (!known || *known) return false;
    run([&] { AddItem(channel_id, item); });
    return true;
}

// The write lock is taken for each item and not only once a channel: a nested window that waits for the user
// has given it up.
bool CDBUpdate::IsKnown(std::int32_t channel_id, const ClsItem& item) {
    const bool by_link = !item.Link().empty();
    auto& command = HandedOver(by_link ? search_by_link_ : search_full_);
    command["Channel"].value = channel_id;
    if (by_link) {
        command["Link"].value = item.Link();
    } else {
        command["Date"].value = item.ItemDate();
        command["Title"].value = StoredTitle(item);
        SetDescription(command, item);
    }
    command.ActiveConnection()->BeginWrites();
    return !command.Execute()->Eof();
}

void CDBUpdate::AddItem(std::int32_t channel_id, const ClsItem& item) {
    auto& command = HandedOver(add_item_);
    command["Title"].value = StoredTitle(item);
    SetDescription(command, item);
    command["Link"].value = item.Link();
    command["Date"].value = item.ItemDate();
    command["Guid"].value = item.guid();
    command["Channel"].value = channel_id;
    command.Execute();
}

void CDBUpdate::RefreshChannelRow() {
    auto& row = HandedOver(channels_);
    const auto& feed = *loader_;
    row.Value("Description", feed.Description());
    row.Value("Copyright", Left(feed.Copyright(), kCopyrightLimit));
    row.Value("Channel", Left(feed.Title(), kChannelTitleLimit));
    row.Value("Link", feed.Link());
    row.Value("lastBuildDate", feed.ChannelDate());
    row.Value("imagelink", feed.ImageLink());
    row.Value("imagetitle", feed.ImageTitle());
    row.Value("imageurl", feed.imageURL());
    row.Update();
}

}  // namespace pellago
