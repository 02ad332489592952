#include "desktop/clipboard_format.h"

#include <QMimeData>
#include <QString>
#include <QStringConverter>
#include <QUrl>
#include <algorithm>
#include <cstddef>
#include <vector>

#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::uint16_t kFirstFormat = 0xC000;
constexpr std::size_t kFormats = 0x4000;

std::vector<std::string>& Names() {
    static std::vector<std::string> names;
    return names;
}

const QString kBrowserLink = QStringLiteral("text/x-moz-url");
const QString kOldBrowserLink = QStringLiteral("_NETSCAPE_URL");

QString FirstLine(const QString& text) { return text.section(QLatin1Char('\n'), 0, 0).trimmed(); }

/// The first link, in the forms that browsers use: a list, or the link and its title on two lines.
QString FirstLink(const QMimeData& data) {
    const auto links = data.urls();
    if (!links.isEmpty()) return links.first().toString(QUrl::FullyEncoded);
    if (data.hasFormat(kBrowserLink)) {
        QStringDecoder decoder(QStringDecoder::Utf16LE);
        return FirstLine(decoder(data.data(kBrowserLink)));
    }
    return FirstLine(QString::fromUtf8(data.data(kOldBrowserLink)));
}

}  // namespace

std::uint16_t RegisterClipboardFormat(const std::string& name) {
    if (name.empty()) return 0;
    auto& names = Names();
    auto found = std::ranges::find_if(names, [&](const auto& known) { return EqualNoCase(known, name); });
    if (found == names.end()) {
        if (names.size() == kFormats) return 0;
        found = names.insert(names.end(), name);
    }
    return static_cast<std::uint16_t>(kFirstFormat + (found - names.begin()));
}

bool IsFormatOffered(const QMimeData& data, std::uint16_t format) {
    if (format == CF_TEXT) return data.hasText();
    const auto& names = Names();
    if (format < kFirstFormat || format - kFirstFormat >= static_cast<int>(names.size())) return false;
    const auto& name = names[static_cast<std::size_t>(format - kFirstFormat)];
    if (EqualNoCase(name, "UniformResourceLocator")) return !FirstLink(data).isEmpty();
    return data.hasFormat(QString::fromStdString(name));
}

std::string PlainTextOf(const QMimeData& data) {
    // Not hasText(), which is true of a list of links as well.
    const auto text = data.hasFormat(QStringLiteral("text/plain")) ? data.text() : FirstLink(data);
    return text.toStdString();
}

}  // namespace pellago
