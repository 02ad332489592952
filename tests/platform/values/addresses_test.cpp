#include "platform/values/addresses.h"

#include <gmock/gmock.h>

#include "support/support.h"

namespace pellago {
namespace {

using Kind = DocumentAddress::Kind;
using namespace std::string_literals;

TEST(Addresses, BeginWithAScheme) {
    EXPECT_EQ(SchemeOf("hTTps://a.example"), "https");
    EXPECT_EQ(SchemeOf("a+b.c-1:x"), "a+b.c-1");
    for (const char* text : {"", ":", "/a:b", "1a:b", "a b:c", "a_b:c", "h%74tp:", "\xFF:", "feed.xml?a:b"})
        EXPECT_EQ(SchemeOf(text), "") << text;
}

TEST(Addresses, NameAHostThatIsKeptAsItWasWrittenButForItsCase) {
    EXPECT_EQ(HostOf("http://u:p@b@Host.Example:8080/x@y"), "host.example");
    EXPECT_EQ(HostOf("https://[2001:DB8::1]:80?x"), "[2001:db8::1]");
    for (const char* host : {"127.1", "xn--bcher-kva.example", "b\u00fccher.example", "a%2eb"})
        EXPECT_EQ(HostOf("http://"s + host + "/"), host);
    for (const char* text : {"", "a.example/x", "mailto:me@a.example", "file:///x"})
        EXPECT_EQ(HostOf(text), "") << text;
}

TEST(Addresses, LeadToTheWebToAFileOrNowhere) {
    struct {
        std::string address;
        Kind kind;
        std::string location;
    } const rows[] = {
        {" \tHTTP://A.example/b c\r\n", Kind::kHttp, "HTTP://A.example/b c"},
        {"relative/100%.xml", Kind::kFile, "relative/100%.xml"},
        {"FILE:/a%20b%c3%A4", Kind::kFile, "/a b\u00e4"},
        {"file://localhost/a?b#c", Kind::kFile, "/a"},
        {"file:///a\xFF", Kind::kFile, "/a\xFF"},
        {"file://elsewhere/a", Kind::kUnsupported, "The file address names another machine"},
        {"file:a", Kind::kUnsupported, "The file address is not valid"},
        {"file:///a%00b", Kind::kUnsupported, "The file address is not valid"},
        {"file:///a%4", Kind::kUnsupported, "The file address is not valid"},
        {"file:///a%+1", Kind::kUnsupported, "The file address is not valid"},
        {"FTP://a.example", Kind::kUnsupported, "Addresses with \"ftp:\" are not supported"},
        {" \r\n", Kind::kUnsupported, "The address is empty"},
    };
    for (const auto& row : rows) {
        const auto [kind, location] = ParseAddress(row.address);
        EXPECT_EQ(kind, row.kind) << row.address;
        EXPECT_EQ(location, row.location) << row.address;
    }
}

TEST(Addresses, OnTheWebAreTakenFromTheFirstLineOfAText) {
    EXPECT_EQ(WebAddress(" \nFEED:HTTP://News.example/Feed \r\nTitle"), "http://news.example/Feed");
    EXPECT_EQ(WebAddress("feed:https://Me:pW@[2001:DB8::1]:8080/X#z"),
              "https://Me:pW@[2001:db8::1]:8080/X#z");
    EXPECT_EQ(WebAddress("feed:A.example/x"), "http://a.example/x");
    for (const char* text :
         {"ftp://a.example/x", "javascript:alert('http://a.example/')", "mailto:me@a.example", "http:///x",
          "https://me@:80/x", "http://a.example/x is good", "http://[a.example/x", "http://a.example:no/x",
          "http:x://a.example", "a.example/x", "feed:", "Title\nhttp://a.example/x", " "})
        EXPECT_EQ(WebAddress(text), "") << text;
}

TEST(Addresses, OfFeedsThatAreFilesAreTheSameHoweverAListNamesTheFile) {
    const test::TempDir folder;
    test::WriteFile(folder / "100%41 b#\xFF.xml", "");
    const auto base = "file://" + folder.Path().string();
    EXPECT_EQ(FeedAddress(" 100%41 b#\xFF.xml ", folder.Path()), base + "/100%2541%20b%23%FF.xml");
    EXPECT_EQ(FeedAddress("./feeds/../other%20%.xml", folder.Path()), base + "/other%20%25.xml");
    EXPECT_EQ(FeedAddress("/absolute/\u00f6-._~.xml", folder.Path()), "file:///absolute/%C3%B6-._~.xml");
    EXPECT_EQ(FeedAddress("feed://a.example", folder.Path()), "http://a.example");
    EXPECT_EQ(FeedAddress("FILE:///tmp/a%20b", folder.Path()), "FILE:///tmp/a%20b");
    EXPECT_EQ(FeedAddress(" ", folder.Path()), "");
}

}  // namespace
}  // namespace pellago
