#include "feeds/item.h"

#include "feed_fields.h"
#include "feeds/rss_date_time.h"
#include "infra/errors_to_file.h"
#include "infra/process_objects.h"
#include "platform/system/message_box.h"

namespace pellago {

struct ClsItem::Paths {
    const char* title;
    const char* link;
    const char* description;
    const char* pub_date;
    const char* guid;
};

void ClsItem::LoadRSSItem(const XmlNode& element) {
    ReadFields(element, {"title", "link", "description", "pubDate", "guid"});
    SetDate(false);
}

void ClsItem::LoadRDFItem(const XmlNode& element) { LoadRSSItem(element); }

void ClsItem::LoadAtomItem(const XmlNode& element) {
    ReadFields(element, {"title", "link[@type = \"text/html\"]/@href", "content", "issued", "id"});
    SetDate(true);
}

void ClsItem::ReadFields(const XmlNode& element, const Paths& paths) {
    ReadField(element, paths.title, title_);
    ReadField(element, paths.link, link_);
    ReadField(element, paths.description, description_);
    ReadField(element, paths.pub_date, pub_date_);
    ReadField(element, paths.guid, guid_);
}

void ClsItem::SetDate(bool tell_user) {
    if (!IsMissingDate(pub_date_)) {
        if (gRSSDateTime().Parse(pub_date_)) {
            item_date_ = gRSSDateTime().ToLocalTime();
            return;
        }
        const auto error = "Item: " + title_ + ": Date parse error: " + pub_date_;
        if (gErrorsToFile) WriteErrorsLog(error);
        if (tell_user) ShowMessageBox({.text = error, .caption = gAppTitle});
    }
    item_date_ = Now();
}

}  // namespace pellago
