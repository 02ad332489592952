#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "feeds/items.h"
#include "infra/timer.h"
#include "platform/net/http_session.h"
#include "platform/values/date_time.h"
#include "platform/xml/xml_document.h"

namespace pellago {

/// One feed: what it says of itself, and its items. Loaded again, a field that the new feed does not give
/// keeps the value it had. Load is in channel_loading.cpp, the parsers are in channel_parsing.cpp.
class clsChannel final : public iTimer {
public:
    clsChannel();
    ~clsChannel() override;

    const std::string& Copyright() const { return copyright_; }
    void Copyright(const std::string& copyright) { copyright_ = copyright; }
    const std::string& Description() const { return description_; }
    void Description(const std::string& description) { description_ = description; }
    /// The feed's own date as it gives it, unparsed.
    const std::string& lastBuildDate() const { return last_build_date_; }
    void lastBuildDate(const std::string& text) { last_build_date_ = text; }
    const std::string& Link() const { return link_; }
    void Link(const std::string& link) { link_ = link; }
    const std::string& Title() const { return title_; }
    void Title(const std::string& title) { title_ = title; }
    clsItems& Items() { return items_; }
    const clsItems& Items() const { return items_; }
    /// Local time: the feed's date, or its latest item's where it gives none.
    DateTime ChannelDate() const { return channel_date_; }
    void ChannelDate(DateTime date) { channel_date_ = date; }
    const std::string& ImageLink() const { return image_link_; }
    void ImageLink(const std::string& link) { image_link_ = link; }
    const std::string& ImageTitle() const { return image_title_; }
    void ImageTitle(const std::string& title) { image_title_ = title; }
    const std::string& imageURL() const { return image_url_; }
    void imageURL(const std::string& url) { image_url_ = url; }

    /// The addresses that Load will be called with, in this order: their feeds are fetched ahead, as many at
    /// once as setting "ReadAhead" allows. Cancelling ends that.
    void ReadAhead(const std::vector<std::string>& addresses);

    /// Fetches and reads the feed at an address, running the message loop meanwhile. True when a well-formed
    /// document arrived within 60 seconds and nobody cancelled; a document of an unknown format has no items.
    /// False leaves the channel as it was. One load at a time.
    bool Load(const std::string& address);
    /// Why the last Load returned false; empty when it returned true.
    const std::string& LoadError() const { return load_error_; }
    /// Breaks off a pending Load, which then returns false. May be called at any time.
    void CancelLoading();

    /// Each takes the document's root element and expects Items to be empty.
    void ParseRSS(const XmlNode& root);
    void ParseRDF(const XmlNode& root);
    void ParseAtom(const XmlNode& root);

    /// The time-out of a pending Load.
    void iTimer_Fire(std::int32_t elapsed_ms) override;

private:
    struct Paths;
    using ItemLoader = void (ClsItem::*)(const XmlNode&);

    HttpSession& Session();
    void StartTimer();
    bool LoadDocument(const std::string& address);
    void ParseDocument(const XmlDocument& document);
    void ReadFields(const XmlNode& channel, const Paths& paths);
    void ReadItems(const XmlNode& parent, const char* name, ItemLoader loader);
    void SetChannelDate();

    std::string copyright_ = kNotAvailable;
    std::string description_ = kNotAvailable;
    std::string last_build_date_ = kNotAvailable;
    std::string link_ = kNotAvailable;
    std::string title_ = kNotAvailable;
    clsItems items_;
    DateTime channel_date_;
    std::string image_link_;
    std::string image_title_;
    std::string image_url_;

    bool load_cancelled_ = false;
    bool timed_out_ = false;
    std::string load_error_;
    std::unique_ptr<HttpSession> session_;  ///< made when it is first needed
    std::unique_ptr<XmlDocument> document_;
    std::unique_ptr<cTimer> timer_;
};

}  // namespace pellago
