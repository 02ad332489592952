#pragma once

#include <string>

#include "platform/values/date_time.h"
#include "platform/xml/xml_document.h"

namespace pellago {

/// What a text field holds that no feed has given.
inline constexpr const char* kNotAvailable = "N/A";

/// One news item of a feed.
class ClsItem final {
public:
    const std::string& Title() const { return title_; }
    void Title(const std::string& title) { title_ = title; }
    /// The item's text or summary.
    const std::string& Description() const { return description_; }
    void Description(const std::string& description) { description_ = description; }
    const std::string& Link() const { return link_; }
    void Link(const std::string& link) { link_ = link; }
    /// The date as the feed gives it, unparsed.
    const std::string& pubDate() const { return pub_date_; }
    void pubDate(const std::string& text) { pub_date_ = text; }
    const std::string& guid() const { return guid_; }
    void guid(const std::string& guid) { guid_ = guid; }
    /// Local time.
    DateTime ItemDate() const { return item_date_; }
    void ItemDate(DateTime date) { item_date_ = date; }

    /// Each fills the item from its element. What the element lacks keeps its value; an item whose date is
    /// missing or can't be read is dated now. For an Atom entry with a date that can't be read the user is
    /// told.
    void LoadRSSItem(const XmlNode& element);
    void LoadRDFItem(const XmlNode& element);
    void LoadAtomItem(const XmlNode& element);

private:
    struct Paths;
    void ReadFields(const XmlNode& element, const Paths& paths);
    void SetDate(bool tell_user);

    std::string title_ = kNotAvailable;
    std::string description_ = kNotAvailable;
    std::string link_ = kNotAvailable;
    std::string pub_date_ = kNotAvailable;
    std::string guid_ = kNotAvailable;
    DateTime item_date_;
};

}  // namespace pellago
