#include "platform/values/addresses.h"
#include "platform/values/text.h"
#include "subscription_list.h"

namespace pellago::cli {
namespace {

/// U+FFFE and U+FFFF and the control characters of which XML 1.0 has no form become U+FFFD.
std::string XmlAttribute(const std::string& name, const std::string& value) {
    const auto text =
        Replace(Replace(ValidUtf8(value), "\xEF\xBF\xBE", "\xEF\xBF\xBD"), "\xEF\xBF\xBF", "\xEF\xBF\xBD");
    std::string escaped;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (character == '&' || character == '<' || character == '>' || character == '"' ||
            character == '\t' || character == '\n' || character == '\r')
            escaped += "&#" + std::to_string(byte) + ";";
        else if (byte < 0x20)
            escaped += "\xEF\xBF\xBD";
        else
            escaped += character;
    }
    return " " + name + "=\"" + escaped + "\"";
}

// A page that a feed did not name stands in the database as a text that is no address.
std::string PageAttribute(const std::string& page) {
    return SchemeOf(page).empty() ? std::string() : XmlAttribute("htmlUrl", page);
}

// The standard's own mark for an outline that is there but takes no part.
std::string ActiveAttribute(bool active) { return active ? "" : " isComment=\"true\""; }

std::string FeedText(const ListedFeed& feed, const std::string& indent) {
    return indent + "<outline type=\"rss\"" + XmlAttribute("text", feed.name) +
           XmlAttribute("title", feed.name) + XmlAttribute("xmlUrl", feed.address) +
           PageAttribute(feed.link) + ActiveAttribute(feed.active) + "/>\n";
}

}  // namespace

std::string SubscriptionListText(const SubscriptionList& list) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<opml version=\"2.0\">\n"
        "  <head>\n    <title>Pellago subscriptions</title>\n  </head>\n  <body>\n";
    for (const auto& provider : list) {
        text += "    <outline" + XmlAttribute("text", provider.name) + PageAttribute(provider.home_page) +
                ActiveAttribute(provider.active) + ">\n";
        for (const auto& feed : provider.feeds) text += FeedText(feed, "      ");
        text += "    </outline>\n";
    }
    return text + "  </body>\n</opml>\n";
}

}  // namespace pellago::cli
