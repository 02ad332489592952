#include <gmock/gmock.h>

#include <chrono>
#include <ctime>
#include <functional>

#include "platform/http_transfer.h"
#include "platform/xml_document.h"
#include "support/http_server.h"
#include "support/support.h"
#include "support/wait_until.h"

// What may be in a document: its encodings, and what its author means to do with the reader.
namespace pellago {
namespace {

using namespace std::string_literals;
using test::HttpServer;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

std::string Utf16(const std::u16string& text, bool big_endian) {
    std::string bytes;
    for (const char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8U);
        const char low = static_cast<char>(unit & 0xFFU);
        bytes.push_back(big_endian ? high : low);
        bytes.push_back(big_endian ? low : high);
    }
    return bytes;
}

std::string Repeated(std::size_t count, const std::function<std::string(std::size_t)>& part) {
    std::string text;
    for (std::size_t index = 0; index < count; ++index) text += part(index);
    return text;
}

class AnXmlText : public testing::Test {
protected:
    /// The text of the root element, or "error: " and the reason.
    std::string Read(const std::string& bytes, const std::string& content_type = "", test::Reply reply = {}) {
        reply.body = bytes;
        if (!content_type.empty()) reply.headers.emplace_back("Content-Type", content_type);
        server.Answer("/a", std::move(reply));
        XmlDocument document;
        document.Load(server.Url("/a"));
        if (!test::WaitUntil([&] { return document.ReadyState() == 4; })) return "did not end";
        const auto root = document.DocumentElement();
        return root ? root->Text() : "error: " + document.ParseError().reason;
    }

    HttpServer server;
};

TEST_F(AnXmlText, IsReadInTheEncodingThatHolds) {
    const auto declared = [](const std::string& name, const std::string& text) {
        return "<?xml version='1.0' encoding='" + name + "'?><a>" + text + "</a>";
    };
    const std::string eacute = "\u00e9";
    const auto wide = u"<?xml version='1.0' encoding='UTF-16'?><a>\u00e9\U0001F600</a>"s;
    const auto wide_plain = u"<a>\u00e9\U0001F600</a>"s;
    const std::string wide_text = "\u00e9\U0001F600";
    const struct {
        const char* name;
        std::string bytes;
        std::string content_type;
        std::string text;
    } cases[] = {
        {"UTF-8 by default", "<a>\u00e9</a>", "", eacute},
        {"UTF-8 with mark", "\xEF\xBB\xBF<a>\u00e9</a>", "", eacute},
        {"mark before declaration", "\xEF\xBB\xBF" + declared("iso-8859-1", "\u00e9"), "", eacute},
        {"mark before transfer", "\xEF\xBB\xBF<a>\u00e9</a>", "text/xml; charset=iso-8859-1", eacute},
        {"transfer before declaration", declared("UTF-8", "\xE9"), "text/xml; charset=\"ISO-8859-1\"",
         eacute},
        {"transfer says UTF-8", declared("iso-8859-1", "\u00e9"), "text/xml;Charset=utf-8; x=y", eacute},
        {"unknown to anybody in transfer", declared("iso-8859-1", "\xE9"), "text/xml; charset=nonsense",
         eacute},
        {"instruction in transfer", declared("iso-8859-1", "\xE9"), "text/xml; charset=utf-8//IGNORE",
         eacute},
        {"no charset in transfer", declared("iso-8859-1", "\xE9"), "text/xml", eacute},
        {"windows-1252", declared("windows-1252", "\x80\xE9"), "", "\u20ac\u00e9"},
        {"koi8-r", declared("KOI8-R", "\xC1\xC2"), "", "\u0430\u0431"},
        {"windows-1251", declared("windows-1251", "\xE0"), "", "\u0430"},
        {"shift_jis", declared("Shift_JIS", "\x83\x65\x83\x58"), "", "\u30c6\u30b9"},
        {"euc-jp", declared("EUC-JP", "\xA5\xC6"), "", "\u30c6"},
        {"gb2312", declared("gb2312", "\xD6\xD0"), "", "\u4e2d"},
        {"big5", declared("Big5", "\xA4\xA4"), "", "\u4e2d"},
        {"UTF-16LE with mark", "\xFF\xFE" + Utf16(wide, false), "", wide_text},
        {"UTF-16BE with mark", "\xFE\xFF" + Utf16(wide, true), "", wide_text},
        {"UTF-16LE without", Utf16(wide, false), "", wide_text},
        {"UTF-16BE without", Utf16(wide, true), "", wide_text},
        {"UTF-16BE with nothing at all", Utf16(wide_plain, true), "", wide_text},
        {"UTF-16LE, transfer says so", Utf16(wide_plain, false), "text/xml; charset=utf-16", wide_text},
        {"UTF-16 with mark and a false declaration",
         "\xFF\xFE" + Utf16(u"<?xml version='1.0' encoding='utf-8'?><a>\u00e9</a>"s, false), "", eacute},
        {"UTF-32LE with mark", "\xFF\xFE\0\0<\0\0\0a\0\0\0>\0\0\0\xE9\0\0\0<\0\0\0/\0\0\0a\0\0\0>\0\0\0"s, "",
         eacute},
    };
    for (const auto& item : cases) {
        EXPECT_EQ(Read(item.bytes, item.content_type), item.text) << item.name;
        // Byte for byte, so that the borders of the pieces fall everywhere.
        EXPECT_EQ(Read(item.bytes, item.content_type, {.pause_per_byte = std::chrono::microseconds(200)}),
                  item.text)
            << item.name << ", slowly";
    }
}

TEST_F(AnXmlText, IsRefusedWhereItsBytesAreNotOfItsEncoding) {
    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {
        {"not UTF-8", "<a>caf\xE9 au lait</a>"},
        {"overlong UTF-8", "<a>\xC0\xBC</a>"},
        {"surrogate in UTF-8", "<a>\xED\xA0\x80</a>"},
        {"UTF-8 cut", "<a>\xE2\x82</a>"},
        {"unassigned in windows-1252", "<?xml version='1.0' encoding='windows-1252'?><a>\x81</a>"},
        {"second byte wrong in Shift_JIS", "<?xml version='1.0' encoding='shift_jis'?><a>\x83\xFF</a>"},
        {"encoding that nobody knows", "<?xml version='1.0' encoding='nonsense'?><a/>"},
        {"declared UTF-16, is not", "<?xml version='1.0' encoding='UTF-16'?><a/>"},
        {"half a surrogate pair", "\xFF\xFE" + Utf16(u"<a>\xD83Dx</a>"s, false)},
        {"control character", "<a>\x01</a>"},
        {"reference to a control character", "<a>&#1;</a>"},
        {"zero byte", "<a>\0</a>"s},
    };
    for (const auto& item : cases) EXPECT_THAT(Read(item.bytes), HasSubstr("error: ")) << item.name;
}

TEST_F(AnXmlText, IsRefusedWhereItIsNotWellFormed) {
    for (const char* text : {"", " ", "<a>", "<a></b>", "<a/><b/>", "<a/>x", "<a b=1/>", "<a b='1' b='2'/>",
                             "<a>&lt</a>", "<a>&nbsp;</a>", "<a><![CDATA[x</a>",
                             "\n<?xml version='1.0'?><a/>", "<", "<a", "{}", "<!DOCTYPE html><p>x<br>y</p>"})
        EXPECT_THAT(Read(text), HasSubstr("error: ")) << text;
}

TEST_F(AnXmlText, NeverHasAnythingReadFromOutside) {
    const test::TempDir folder;
    test::WriteFile(folder / "secret", "secret");
    server.Answer("/secret", {.body = "secret"});
    for (const auto& target : {"file://" + (folder / "secret"), folder / "secret", server.Url("/secret")}) {
        EXPECT_EQ(Read("<!DOCTYPE a [<!ENTITY x SYSTEM '" + target + "'>]><a>1&x;2</a>"), "12");
        EXPECT_EQ(Read("<!DOCTYPE a SYSTEM '" + target + "'><a>1&nbsp;2</a>"), "12");
        EXPECT_EQ(Read("<!DOCTYPE a PUBLIC '-//x' '" + target + "' [<!ENTITY % x SYSTEM '" + target +
                       "'>%x;]><a>12</a>"),
                  "12");
        EXPECT_EQ(Read("<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include parse='text' href='" +
                       target + "'/></a>"),
                  "");
    }
    EXPECT_EQ(server.Requests("/secret"), 0U);
}

/// Documents of a few kilobytes to a few megabytes that would take gigabytes, or minutes inside one call.
TEST_F(AnXmlText, IsRefusedFastWhereItIsABomb) {
    const auto letters = [](std::size_t count) { return std::string(count, 'x'); };
    const std::string big_entity = "<!DOCTYPE a [<!ENTITY e '" + letters(100'000) + "'>]><a>";
    const auto number = [](std::size_t index) { return std::to_string(index); };
    const auto ten_of_the_level_below = [&](std::size_t level) {
        const auto ten = Repeated(10, [&](std::size_t) { return "&l" + number(level) + ";"; });
        return "<!ENTITY l" + number(level + 1) + " '" + ten + "'>";
    };
    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {
        {"billion laughs",
         "<!DOCTYPE a [<!ENTITY l0 'lol'>" + Repeated(9, ten_of_the_level_below) + "]><a>&l9;</a>"},
        {"two levels, a thousand each", "<!DOCTYPE a [<!ENTITY e '" + letters(1000) + "'><!ENTITY f '" +
                                            Repeated(1000, [](std::size_t) { return "&e;"s; }) + "'>]><a>" +
                                            Repeated(1000, [](std::size_t) { return "<b>&f;</b>"s; }) +
                                            "</a>"},
        {"one large entity, often", big_entity + Repeated(5000, [](std::size_t) { return "&e;"s; }) + "</a>"},
        {"the same in attributes",
         big_entity + Repeated(5000, [](std::size_t) { return "<b c='&e;'/>"s; }) + "</a>"},
        {"entities in a circle", "<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a b='&e;'>&e;</a>"},
        {"10,000 levels", Repeated(10'000, [](std::size_t) { return "<b>"s; }) +
                              Repeated(10'000, [](std::size_t) { return "</b>"s; })},
        {"a text of 11 MB", "<a>" + letters(11'000'000) + "</a>"},
        {"too many elements", "<a>" + Repeated(3'100'000, [](std::size_t) { return "<b/>"s; }) + "</a>"},
        {"too many references", big_entity.substr(0, 24) + "''>]><a>" +
                                    Repeated(3'100'000, [](std::size_t) { return "&e;"s; }) + "</a>"},
        {"too many names",
         "<a>" + Repeated(200'000, [&](std::size_t index) { return "<name" + number(index) + "/>"; }) +
             "</a>"},
        {"too many attributes",
         "<a " + Repeated(300'000, [&](std::size_t index) { return "b" + number(index) + "='' "; }) + "/>"},
        {"too large a document type",
         "<!DOCTYPE a [" +
             Repeated(100'000,
                      [&](std::size_t index) { return "<!ATTLIST a b" + number(index) + " CDATA ''>"; }) +
             "]><a/>"},
        {"larger than 64 MiB", "<a>" + letters(HttpTransfer::kMaxBody) + "</a>"},
    };
    for (const auto& item : cases) {
        const auto processor_time = std::clock();
        EXPECT_THAT(Read(item.bytes), HasSubstr("error: ")) << item.name;
        EXPECT_LT(static_cast<double>(std::clock() - processor_time) / CLOCKS_PER_SEC, 10) << item.name;
    }
}

TEST_F(AnXmlText, MayBeLargeWhereItIsAFeed) {
    const std::string text(9'000'000, 'x');
    EXPECT_EQ(Read("<a><!--" + text + "--><b c='" + text + "'/>" + text + "</a>").size(), text.size());
    const auto items = Repeated(60'000, [](std::size_t) {
        return "<item><title>A title</title><description>&lt;p&gt;" + std::string(900, 'y') +
               "&lt;/p&gt;</description></item>\n";
    });
    EXPECT_EQ(Read("<rss>" + items + "</rss>").substr(0, 11), "A title<p>y");
}

}  // namespace
}  // namespace pellago
