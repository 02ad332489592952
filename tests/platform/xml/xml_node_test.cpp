#include <gmock/gmock.h>

#include <map>

#include "platform/values/run_time_error.h"
#include "support/documents.h"
#include "support/support.h"

namespace pellago {
namespace {

using testing::ElementsAre;

class AnXmlNode : public testing::Test {
protected:
    XmlNode Root(const std::string& text) {
        test::WriteFile(folder_ / "a.xml", text);
        document_ = std::make_unique<XmlDocument>();
        test::Load(*document_, folder_ / "a.xml");
        EXPECT_EQ(document_->ParseError().reason, "");
        return document_->DocumentElement().value();
    }

    static std::string Text(const XmlNode& node, std::string_view path) {
        const auto found = node.SelectSingleNode(path);
        return found ? found->Text() : "nothing";
    }

private:
    test::TempDir folder_;
    std::unique_ptr<XmlDocument> document_;
};

TEST_F(AnXmlNode, IsTheFirstMatchOfTheWholePathByNamesAsWritten) {
    const auto root = Root(
        "<a xmlns='urn:d' xmlns:p='urn:d'><p:title>prefixed</p:title><q:title>undeclared</q:title>"
        "<Title>other case</Title><title>plain</title><p:link p:href='x' href='y'/>"
        "<b><image><url/></image><image><title>in b</title></image></b><image/>"
        "<image><x><title>too deep</title></x></image><image><title>1</title><title>2</title></image>"
        "<image><title>3</title></image><link type='text/plain' href='p'/><link href='none'/>"
        "<link type='text/html'/><link type='text/html' href='&#10; h&amp;1 '/>"
        "<link type='text/html' href='h2'/></a>");
    for (const auto& [path, text] : std::map<std::string, std::string>{
             {"title", "plain"},
             {"p:title", "prefixed"},
             {"q:title", "undeclared"},
             {"d:title", "nothing"},
             {"p:link/@href", "y"},
             {"p:link/@p:href", "x"},
             {"image/title", "1"},
             {"b/image/title", "in b"},
             {"image/link", "nothing"},
             {"link[@type = \"text/html\"]/@href", "h&1"},
             {"link[@type=\"text/plain\"]/@href", "p"},
             {"link[@type = \"text\"]/@href", "nothing"},
         })
        EXPECT_EQ(Text(root, path), text) << path;
    std::vector<std::string> titles;
    for (const auto& title : root.SelectNodes("image/title")) titles.push_back(title.Text());
    EXPECT_THAT(titles, ElementsAre("1", "2", "3"));
    EXPECT_EQ(root.SelectNodes("link[@type = \"text/html\"]").size(), 3U);
}

TEST_F(AnXmlNode, RefusesOtherPathsEvenWhereNothingMatches) {
    const auto root = Root("<a/>");
    for (const char* path : {"", "/", "b/", "/b", "//b", "b//c", "*", ".", "b[1]", "b[@c]", "b[@c = \"d]",
                             "@c/b", "b c", "b[@c = 'd']", "b | c", "text()"})
        EXPECT_THROW(root.SelectSingleNode(path), RunTimeError) << path;
}

TEST_F(AnXmlNode, HasAllDescendantTextTrimmed) {
    const auto root = Root(
        "<!DOCTYPE r SYSTEM 'nowhere' [<!ENTITY e 'en<i>ti</i>ty &f;'><!ENTITY f 'nested'>]>"
        "<r><mixed> \t\r\n one <b>two<c/></b>\n<i> three</i>\u00a0\n</mixed><empty> \n </empty><none/>"
        "<markup>a<!-- no -->b<?no no?>c<![CDATA[<d>&amp;]]>&lt;&#233;</markup><e x=' &f; '>[&e;]</e>"
        "<u>&undeclared;</u></r>");
    EXPECT_EQ(Text(root, "mixed"), "one two\n three\u00a0");
    EXPECT_EQ(Text(root, "empty"), "");
    EXPECT_EQ(Text(root, "none"), "");
    EXPECT_EQ(Text(root, "markup"), "abc<d>&amp;<\u00e9");
    EXPECT_EQ(Text(root, "e"), "[entity nested]");
    EXPECT_EQ(Text(root, "e/@x"), "nested");
}

}  // namespace
}  // namespace pellago
