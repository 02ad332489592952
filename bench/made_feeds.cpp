#include "made_feeds.h"

namespace pellago::bench {

std::string MadeFeed(int seed, int items, int lines) {
    const auto name = std::to_string(seed);
    std::string feed =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\">\n<channel>\n<title>Feed " + name +
        "</title>\n<link>http://feeds.example/" + name +
        "/</link>\n<description>Made for measuring</description>\n"
        "<lastBuildDate>Tue, 10 Jun 2003 09:41:01 GMT</lastBuildDate>\n";
    for (int i = 0; i < items; ++i) {
        const auto number = name + "/" + std::to_string(i);
        feed += "<item>\n<title>Item " + number +
                " of a feed &amp; its text</title>\n<link>http://feeds.example/" + number +
                "</link>\n<guid>urn:" + number + "</guid>\n<pubDate>Tue, " + std::to_string(10 + i % 20) +
                " Jun 2003 04:" + std::to_string(10 + i % 50) + ":00 GMT</pubDate>\n<description>";
        for (int line = 0; line < lines; ++line)
            feed += "Line " + std::to_string(line) + " of " + number +
                    ": &lt;p&gt;the quick brown fox jumps over it&lt;/p&gt;\n";
        feed += "</description>\n</item>\n";
    }
    return feed + "</channel>\n</rss>\n";
}

}  // namespace pellago::bench
