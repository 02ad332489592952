#include "desktop/clipboard_format.h"

#include <gmock/gmock.h>

#include <QMimeData>
#include <QUrl>

namespace pellago {
namespace {

TEST(ClipboardFormat, HasOneNumberWhateverTheCaseOfItsName) {
    const auto link = RegisterClipboardFormat("UniformResourceLocator");
    EXPECT_GE(link, 0xC000);
    EXPECT_EQ(RegisterClipboardFormat("uniformresourcelocator"), link);
    EXPECT_NE(RegisterClipboardFormat("application/x-other"), link);
    EXPECT_EQ(RegisterClipboardFormat(""), 0);
}

struct Offer {
    std::vector<std::pair<const char*, QByteArray>> formats;
    bool link;
    std::string text;
};

TEST(ClipboardFormat, FindsALinkInWhatBrowsersOffer) {
    const auto link = RegisterClipboardFormat("UniformResourceLocator");
    const QByteArray wide(reinterpret_cast<const char*>(u"http://a.example/\u00e4\nTitle"), 2 * 24);
    for (const auto& offer :
         {Offer{{{"text/uri-list", "# said\r\nhttp://a.example/x\r\n"}, {"text/plain", "http://a.example/x"}},
                true,
                "http://a.example/x"},
          Offer{{{"text/uri-list", "http://a.example/x%20y\r\nhttp://b.example/"}},
                true,
                "http://a.example/x%20y"},
          Offer{{{"text/x-moz-url", wide}}, true, "http://a.example/\u00e4"},
          Offer{{{"_NETSCAPE_URL", "http://a.example/x\nTitle"}}, true, "http://a.example/x"},
          Offer{{{"text/plain", "http://a.example/x"}}, false, "http://a.example/x"},
          Offer{{{"text/uri-list", "\r\n"}}, false, ""}, Offer{{{"image/png", "x"}}, false, ""}}) {
        SCOPED_TRACE(offer.formats[0].first + std::string(": ") + offer.formats[0].second.toStdString());
        QMimeData data;
        for (const auto& [format, bytes] : offer.formats) data.setData(QString::fromLatin1(format), bytes);
        EXPECT_EQ(IsFormatOffered(data, link), offer.link);
        EXPECT_EQ(PlainTextOf(data), offer.text);
    }
}

TEST(ClipboardFormat, OfAnyOtherNameStandsForItself) {
    QMimeData data;
    data.setData("application/x-other", "1");
    EXPECT_TRUE(IsFormatOffered(data, RegisterClipboardFormat("application/x-other")));
    EXPECT_FALSE(IsFormatOffered(data, RegisterClipboardFormat("application/x-third")));
    EXPECT_FALSE(IsFormatOffered(data, CF_TEXT));
    EXPECT_FALSE(IsFormatOffered(data, 0xFFFF));
}

}  // namespace
}  // namespace pellago
