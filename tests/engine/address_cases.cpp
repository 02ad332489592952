#include "address_cases.h"

#include "support/a_run.h"

namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using Framing = Reply::Framing;
using Headers = std::vector<std::pair<std::string, std::string>>;

/// Two items; the channel's own fields, which later feeds inherit, only where `more` has them.
std::string SmallFeed(const std::string& name, const std::string& more = {}) {
    return Feed(more + Item(name + " 1", "l/" + name + "/1") + Item(name + " 2", "l/" + name + "/2"));
}

std::string LargeFeed(int items) {
    std::string text;
    for (int item = 0; item < items; ++item)
        text += Item("large " + std::to_string(item), "l/large/" + std::to_string(item), "2003-06-10 04:00",
                     std::string(500, 'x'));
    return Feed(text);
}

Reply Status(int status, const Headers& headers = {}) {
    return {.status = status, .headers = headers, .body = SmallFeed("of a failure")};
}

Reply Packed(const std::string& bytes, const std::string& etag = {}) {
    return {.headers = {{"Content-Encoding", "gzip"}}, .body = bytes, .etag = etag};
}

Reply WithCharset(const std::string& charset, const std::string& title, const std::string& etag) {
    return {.headers = {{"Content-Type", "text/xml; charset=" + charset}},
            .body = Feed(Item(title, "l/" + charset)),
            .etag = etag};
}

std::vector<AddressCase> WholeFeeds() {
    const auto gzip = Gzip(SmallFeed("gzip"));
    return {
        {"plain", true, {.body = SmallFeed("plain")}},
        {"with-fields",
         true,
         {.body = SmallFeed("with-fields",
                            "<copyright>c</copyright><link>l</link><description>d</description>"
                            "<image><url>u</url><title>t</title><link>i</link></image>")}},
        {"chunked", true, {.body = SmallFeed("chunked"), .framing = Framing::kChunked}},
        {"until-the-end", true, {.body = SmallFeed("until-the-end"), .framing = Framing::kClose}},
        {"late", true, {.body = SmallFeed("late"), .delay = 120ms}},
        {"slow", true, {.body = SmallFeed("slow"), .pause_per_byte = 100us}},
        {"gzip", true, Packed(gzip)},
        {"gzip-without-its-checksum", true, Packed(gzip.substr(0, gzip.size() - 8), "\"gz\"")},
        {"cookie", true, {.headers = {{"Set-Cookie", "id=1"}}, .body = SmallFeed("cookie")}},
        {"large", true, {.body = LargeFeed(300), .etag = "\"large\""}},
        {"no-items", true, {.body = Feed(""), .etag = "\"none\""}},
        {"no-links",
         true,
         {.body = Feed(Item("a", "") + Item("b", "") + Item("a", "")), .last_modified = "yesterday"}},
        {"no-link-elements",
         true,
         {.body = Feed("<item><title>a</title><pubDate>2003-06-10 04:00</pubDate></item>"
                       "<item><title>b</title><pubDate>2003-06-10 04:01</pubDate></item>")}},
        {"duplicates", true, {.body = Feed(Item("a", "l/a") + Item("again", "l/a")), .etag = "\"dup\""}},
        {"long-titles",
         true,
         {.body = Feed(Item(std::string(300, 't'), "l/long", "2003-06-10 04:00", std::string(11'000, 'd'))),
          .etag = "\"long\""}},
        {"atom",
         true,
         {.body = "<feed><title>atom</title><modified>2003-06-11T04:00:00Z</modified><entry><title>e</title>"
                  "<issued>2003-06-10T04:00:00Z</issued><id>1</id></entry></feed>"}},
        {"html", true, {.body = "<html><body>Not here</body></html>", .etag = "\"html\""}},
        {"latin-1", true, WithCharset("iso-8859-1", "caf\xe9", "\"latin\"")},
        {"cyrillic", true, WithCharset("koi8-r", "\xf0\xd2\xc9", "\"cyrillic\"")},
    };
}

/// Feeds whose validators a client may keep, and those that it should better not send back.
std::vector<AddressCase> ValidatedFeeds() {
    const auto feed = [](const std::string& name, Reply reply) {
        reply.body = SmallFeed(name);
        return AddressCase{name, true, std::move(reply)};
    };
    return {
        feed("etag", {.etag = "\"1\""}),
        feed("weak-etag", {.etag = "W/\"a  b\""}),
        feed("bare-etag", {.etag = "not, quoted"}),
        feed("last-modified", {.last_modified = "Tue, 10 Jun 2003 04:00:00 GMT"}),
        feed("both", {.etag = "\"2\"", .last_modified = "Tue, 10 Jun 2003 04:00:00 GMT"}),
        feed("no-store", {.headers = {{"Cache-Control", "private, no-store"}}, .etag = "\"3\""}),
        feed("folded-etag", {.headers = {{"ETag", "\"a\r\n b\""}}}),
        feed("header-in-etag", {.etag = "\"a\rX-Injected: 1\""}),
        feed("control-in-etag", {.etag = "\"a\x01\x7f\""}),
        feed("long-etag", {.etag = '"' + std::string(10'000, 'e') + '"'}),
        feed("two-etags", {.headers = {{"ETag", "\"a\""}, {"ETag", "\"b\""}}}),
        feed("empty-etag", {.headers = {{"ETag", ""}}, .last_modified = "x"}),
        {"packed-etag", true, Packed(Gzip(SmallFeed("packed-etag")), "\"4\"")},
    };
}

std::vector<AddressCase> BrokenFeeds() {
    const auto feed = SmallFeed("broken");
    const auto gzip = Gzip(feed);
    return {
        {"cut", false, {.body = feed, .etag = "\"cut\"", .cut_after = 60}},
        {"cut-chunk", false, {.body = feed, .framing = Framing::kChunked, .cut_after = 60}},
        {"last-chunk-missing",
         false,
         {.body = feed, .etag = "\"chunk\"", .framing = Framing::kChunked, .cut_after = feed.size() + 7}},
        {"cut-before-the-body", false, {.body = feed, .cut_after = 0}},
        {"length-too-short",
         false,
         {.headers = {{"Content-Length", "60"}}, .body = feed, .framing = Framing::kClose}},
        {"length-too-long",
         false,
         {.headers = {{"Content-Length", "60000"}}, .body = feed, .framing = Framing::kClose}},
        {"gzip-damaged", false, Packed(gzip.substr(0, 12) + "xxxxxxxxxxxxxx", "\"gd\"")},
        {"gzip-cut", false, Packed(gzip.substr(0, gzip.size() / 2), "\"gc\"")},
        {"no-gzip", false, Packed(feed, "\"ng\"")},
        {"not-well-formed", false, {.body = feed.substr(0, feed.size() - 3), .etag = "\"nwf\""}},
        {"rubbish-behind", false, {.body = feed + "<more/>", .last_modified = "today"}},
        {"empty", false, {.etag = "\"empty\""}},
        {"no-content", false, {.status = 204, .etag = "\"204\""}},
        {"not-modified-unasked", false, {.status = 304, .etag = "\"304\""}},
    };
}

std::vector<AddressCase> Failures() {
    return {
        {"gone", false, Status(404)},
        {"error", false, Status(500)},
        {"error-with-etag", false, {.status = 500, .body = SmallFeed("error"), .etag = "\"500\""}},
        {"not-now", false, Status(503)},
        {"not-so-fast", false, Status(429)},
        {"in-an-hour", false, Status(503, {{"Retry-After", "3600"}})},
        {"some-day", false, Status(429, {{"Retry-After", "Fri, 31 Dec 2100 23:59:59 GMT"}})},
        {"some-time", false, Status(503, {{"Retry-After", "-1 or so"}})},
    };
}

std::vector<AddressCase> Redirects(const HttpServer& server, const HttpServer& nowhere) {
    std::vector<AddressCase> cases = {
        {"to-a-feed", true, Redirect("/plain")},
        {"to-an-etag",
         true,
         {.status = 301, .headers = {{"Location", "etag"}}, .body = "moved", .etag = "\"moved\""}},
        {"to-another-host", true, Redirect(server.Url("/last-modified", 77))},
        {"in-a-circle", false, Redirect("/in-a-circle")},
        {"to-a-failure", false, Redirect("/gone")},
        {"to-what-waits", false, Redirect("/in-an-hour")},
        {"to-ftp", false, Redirect("ftp://127.0.0.1/plain")},
        {"to-a-file", false, Redirect("file:///etc/hostname")},
        {"to-nowhere", false, Redirect(nowhere.Url("/plain"))},
        {"without-an-address", false, {.status = 302, .body = SmallFeed("unmoved")}},
        {"hop-0", true, Redirect("/plain")},
    };
    for (int hop = 1; hop <= 5; ++hop)
        cases.push_back({"hop-" + std::to_string(hop), hop < 5,
                         Redirect(server.Url("/hop-" + std::to_string(hop - 1), 20 + hop))});
    return cases;
}

}  // namespace

std::vector<AddressCase> AllAddressCases(const HttpServer& server, const HttpServer& nowhere) {
    std::vector<AddressCase> cases;
    for (const auto& part :
         {WholeFeeds(), ValidatedFeeds(), BrokenFeeds(), Failures(), Redirects(server, nowhere)})
        cases.insert(cases.end(), part.begin(), part.end());
    return cases;
}

}  // namespace pellago::test
