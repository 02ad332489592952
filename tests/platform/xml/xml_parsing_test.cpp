#include <gmock/gmock.h>

#include <chrono>
#include <ctime>
#include <functional>

#include "support/documents.h"
#include "support/http_server.h"
#include "support/support.h"
#include "support/wait_until.h"

// What may be in a document: its encodings, and what its author means to do with the reader.
namespace pellago {
namespace {

using namespace std::string_literals;
using test::HttpServer;
using testing::StartsWith;

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
std::string Repeated(std::size_t count, const std::string& part) {
    return Repeated(count, [&](std::size_t) { return part; });
}
std::string Numbered(std::size_t count, const std::string& before, const std::string& after) {
    return Repeated(count, [&](std::size_t index) { return before + std::to_string(index) + after; });
}

class AnXmlText : public testing::Test {
protected:
    /// The text of the root element, or "!" and the reason.
    std::string Read(const std::string& bytes, const std::string& content_type = "",
                     std::chrono::microseconds pause = {}) {
        server.Answer("/a",
                      {.headers = {{"Content-Type", content_type}}, .body = bytes, .pause_per_byte = pause});
        HttpSession session({.cache = false});
        return test::Load(session, server.Url("/a"));
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
    // At once, and byte for byte, so that the borders of the pieces fall everywhere.
    for (const auto& item : cases)
        for (const int pause : {0, 200})
            EXPECT_EQ(Read(item.bytes, item.content_type, std::chrono::microseconds(pause)), item.text)
                << item.name << ", pause " << pause;
}

TEST_F(AnXmlText, IsRefusedWhereItIsNotWellFormedOrNotOfItsEncoding) {
    const auto xml = [](const std::string& encoding) {
        return "<?xml version='1.0' encoding='" + encoding + "'?>";
    };
    const std::pair<const char*, std::string> cases[] = {
        {"not UTF-8", "<a>caf\xE9 au lait</a>"},
        {"overlong UTF-8", "<a>\xC0\xBC</a>"},
        {"surrogate in UTF-8", "<a>\xED\xA0\x80</a>"},
        {"unassigned in windows-1252", xml("windows-1252") + "<a>\x81</a>"},
        {"second byte wrong in Shift_JIS", xml("shift_jis") + "<a>\x83\xFF</a>"},
        {"encoding that nobody knows", xml("nonsense") + "<a/>"},
        {"declared UTF-16, is not", xml("UTF-16") + "<a/>"},
        {"half a surrogate pair", "\xFF\xFE" + Utf16(u"<a>\xD83Dx</a>"s, false)},
        {"control character", "<a>\x01</a>"},
        {"reference to a control character", "<a>&#1;</a>"},
        {"zero byte", "<a>\0</a>"s},
        {"nothing", ""},
        {"no end", "<a>"},
        {"text after the root", "<a/>x"},
        {"undeclared entity", "<a>&nbsp;</a>"},
        {"no XML", "{}"},
        {"a page", "<!DOCTYPE html><p>x<br>y</p>"},
    };
    for (const auto& [name, bytes] : cases) EXPECT_THAT(Read(bytes), StartsWith("!")) << name;
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
    const std::string big_entity = "<!DOCTYPE a [<!ENTITY e '" + std::string(100'000, 'x') + "'>]><a>";
    const std::string small_entity = "<!DOCTYPE a [<!ENTITY e ''>]><a>";
    const std::pair<const char*, std::string> cases[] = {
        {"billion laughs", "<!DOCTYPE a [<!ENTITY l0 'lol'>" +
                               Repeated(9,
                                        [](std::size_t level) {
                                            return "<!ENTITY l" + std::to_string(level + 1) + " '" +
                                                   Repeated(10, "&l" + std::to_string(level) + ";") + "'>";
                                        }) +
                               "]><a>&l9;</a>"},
        {"two levels, a thousand each", "<!DOCTYPE a [<!ENTITY e '" + std::string(1000, 'x') +
                                            "'><!ENTITY f '" + Repeated(1000, "&e;") + "'>]><a>" +
                                            Repeated(1000, "<b>&f;</b>") + "</a>"},
        {"one large entity, often", big_entity + Repeated(5000, "&e;") + "</a>"},
        {"the same in attributes", big_entity + Repeated(5000, "<b c='&e;'/>") + "</a>"},
        {"entities in a circle", "<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a b='&e;'>&e;</a>"},
        {"10,000 levels", Repeated(10'000, "<b>") + Repeated(10'000, "</b>")},
        {"a text of 11 MB", "<a>" + std::string(11'000'000, 'x') + "</a>"},
        {"too many elements", "<a>" + Repeated(3'100'000, "<b/>") + "</a>"},
        {"too many references", small_entity + Repeated(3'100'000, "&e;") + "</a>"},
        {"too many names", "<a>" + Numbered(200'000, "<name", "/>") + "</a>"},
        {"too many attributes", "<a " + Numbered(300'000, "b", "='' ") + "/>"},
        {"too large a document type",
         "<!DOCTYPE a [" + Numbered(100'000, "<!ATTLIST a b", " CDATA ''>") + "]><a/>"},
        {"defaults for every element", "<!DOCTYPE a [<!ATTLIST b " + Numbered(17'000, "c", " CDATA '' ") +
                                           ">]><a>" + Repeated(84, "<b/>") + "</a>"},
        {"too many namespaces",
         "<a " + Numbered(4'900, "xmlns:n", "='u' ") + ">" + Repeated(400'000, "<n1:b/>") + "</a>"},
        {"larger than 64 MiB", "<a>" + std::string(kMaxDocument, 'x') + "</a>"},
    };
    for (const auto& [name, bytes] : cases) {
        const auto processor_time = std::clock();
        EXPECT_THAT(Read(bytes), StartsWith("!")) << name;
        EXPECT_LT(static_cast<double>(std::clock() - processor_time) / CLOCKS_PER_SEC, 10) << name;
    }
}

TEST_F(AnXmlText, MayBeLargeWhereItIsAFeed) {
    const std::string text(9'000'000, 'x');
    EXPECT_EQ(Read("<a><!--" + text + "--><b c='" + text + "'/>" + text + "</a>").size(), text.size());
    const auto items = Repeated(60'000, "<item><title>A title</title><description>&lt;p&gt;" +
                                            std::string(900, 'y') + "&lt;/p&gt;</description></item>\n");
    EXPECT_EQ(Read("<rss>" + items + "</rss>").substr(0, 11), "A title<p>y");
}

}  // namespace
}  // namespace pellago
