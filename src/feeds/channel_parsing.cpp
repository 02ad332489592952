#include "feed_fields.h"
#include "feeds/channel.h"
#include "feeds/rss_date_time.h"
#include "infra/errors_to_file.h"

namespace pellago {

struct clsChannel::Paths {
    const char* link = "link";
    const char* description = "description";
    const char* last_build_date = "lastBuildDate";
};

void clsChannel::ParseRSS(const XmlNode& root) {
    const auto channel = root.SelectSingleNode("channel");
    if (!channel) return;
    ReadFields(*channel, {});
    ReadItems(*channel, "item", &ClsItem::LoadRSSItem);
}

void clsChannel::ParseRDF(const XmlNode& root) {
    if (const auto channel = root.SelectSingleNode("channel")) ReadFields(*channel, {});
    ReadItems(root, "item", &ClsItem::LoadRDFItem);
}

void clsChannel::ParseAtom(const XmlNode& root) {
    ReadFields(root, {"link[@type = \"text/html\"]/@href", "tagline", "modified"});
    ReadItems(root, "entry", &ClsItem::LoadAtomItem);
}

void clsChannel::ReadFields(const XmlNode& channel, const Paths& paths) {
    ReadField(channel, "title", title_);
    ReadField(channel, "copyright", copyright_);
    ReadField(channel, paths.link, link_);
    ReadField(channel, paths.description, description_);
    ReadField(channel, paths.last_build_date, last_build_date_);
    ReadField(channel, "image/link", image_link_);
    ReadField(channel, "image/title", image_title_);
    ReadField(channel, "image/url", image_url_);
}

void clsChannel::ReadItems(const XmlNode& parent, const char* name, ItemLoader loader) {
    for (const auto& element : parent.SelectNodes(name)) {
        const auto item = std::make_shared<ClsItem>();
        ((*item).*loader)(element);
        items_.Add(item);
    }
    items_.SortByDate();
    SetChannelDate();
}

void clsChannel::SetChannelDate() {
    if (!IsMissingDate(last_build_date_)) {
        if (gRSSDateTime().Parse(last_build_date_)) {
            channel_date_ = gRSSDateTime().ToLocalTime();
            for (const auto& item : items_.NewEnum())
                if (item->ItemDate() == DateTime()) item->ItemDate(channel_date_);
            return;
        }
        if (gErrorsToFile) WriteErrorsLog("Channel: " + title_ + ": Date parse error: " + last_build_date_);
    }
    if (const auto latest = items_.Item(items_.Count())) channel_date_ = latest->ItemDate();
}

}  // namespace pellago
