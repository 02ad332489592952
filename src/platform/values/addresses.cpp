#include "platform/values/addresses.h"

#include <QByteArray>
#include <QUrl>
#include <charconv>
#include <cstdint>
#include <system_error>

#include "platform/values/text.h"

namespace pellago {
namespace {

namespace fs = std::filesystem;
using Kind = DocumentAddress::Kind;

constexpr std::string_view kAuthorityMark = "://";

bool IsWeb(std::string_view scheme) { return scheme == "http" || scheme == "https"; }

/// What stands between user and port, or nothing. A view into `address`, since a host is kept as it was
/// written: QUrl would decode it and write numbers and international names anew.
std::string_view HostIn(std::string_view address) {
    const auto begin = address.find(kAuthorityMark);
    if (begin == std::string_view::npos) return {};
    auto host = address.substr(begin + kAuthorityMark.size());
    host = host.substr(0, host.find_first_of("/?#"));
    host = host.substr(host.rfind('@') + 1);
    if (host.starts_with('[')) return host.substr(0, host.find(']') + 1);
    return host.substr(0, host.find(':'));
}

struct Decoded {
    std::string text;
    bool is_sound = true;  ///< false where a "%" was left as it is, or a NUL came out
};

/// A "%" that does not begin two hexadecimal digits stays as it is; Qt's decoder would make up a byte.
Decoded PercentDecoded(std::string_view text) {
    Decoded decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        char next = text[at];
        if (next == '%') {
            std::uint8_t byte = 0;
            const auto digits = text.substr(at + 1, 2);
            const auto* end = digits.data() + digits.size();
            const bool is_form =
                digits.size() == 2 && std::from_chars(digits.data(), end, byte, 16).ptr == end;
            decoded.is_sound = decoded.is_sound && is_form && byte != 0;
            if (is_form) {
                next = static_cast<char>(byte);
                at += digits.size();
            }
        }
        decoded.text += next;
    }
    return decoded;
}

/// `rest` is what follows "file:".
DocumentAddress ParseFileAddress(std::string_view rest) {
    rest = rest.substr(0, rest.find_first_of("?#"));
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const auto host = rest.substr(0, rest.find('/'));
        if (!host.empty() && host != "localhost")
            return {Kind::kUnsupported, "The file address names another machine"};
        rest.remove_prefix(host.size());
    }
    auto path = PercentDecoded(rest);
    if (!path.is_sound || !path.text.starts_with('/'))
        return {Kind::kUnsupported, "The file address is not valid"};
    return {Kind::kFile, std::move(path.text)};
}

/// Without white space around it, and with a "feed:" before it undone.
std::string Undecorated(std::string_view text) {
    const auto address = Trimmed(text);
    if (SchemeOf(address) != "feed") return std::string(address);
    const auto rest = address.substr(address.find(':') + 1);
    if (rest.starts_with("//")) return "http:" + std::string(rest);
    return SchemeOf(rest).empty() ? "http://" + std::string(rest) : std::string(rest);
}

}  // namespace

std::string SchemeOf(std::string_view address) {
    // Byte by byte, for a path may have any encoding.
    return QUrl(QString::fromLatin1(address.data(), static_cast<qsizetype>(address.size())))
        .scheme()
        .toStdString();
}

std::string HostOf(std::string_view address) { return LCase(HostIn(address)); }

DocumentAddress ParseAddress(std::string_view address) {
    address = Trimmed(address);
    if (address.empty()) return {Kind::kUnsupported, "The address is empty"};
    const auto scheme = SchemeOf(address);
    if (scheme.empty()) return {Kind::kFile, std::string(address)};
    if (IsWeb(scheme)) return {Kind::kHttp, std::string(address)};
    if (scheme == "file") return ParseFileAddress(address.substr(scheme.size() + 1));
    return {Kind::kUnsupported, "Addresses with \"" + scheme + ":\" are not supported"};
}

std::string WebAddress(std::string_view text) {
    text = Trimmed(text);
    const auto address = Undecorated(text.substr(0, text.find_first_of("\r\n")));
    const auto scheme = SchemeOf(address);
    const auto host = HostIn(address);
    if (!IsWeb(scheme) || address.find(kAuthorityMark) != scheme.size() || host.empty() ||
        address.find_first_of(kWhiteSpace) != std::string::npos ||
        !QUrl(QString::fromStdString(address)).isValid())
        return {};
    const auto at = static_cast<std::size_t>(host.data() - address.data());
    return scheme + address.substr(scheme.size(), at - scheme.size()) + LCase(host) +
           address.substr(at + host.size());
}

std::string FeedAddress(std::string_view text, const fs::path& folder) {
    auto address = Undecorated(text);
    if (address.empty() || !SchemeOf(address).empty()) return address;
    // Lists name files by address ("my%20feed.xml") and by name ("my feed.xml", "100%.xml").
    std::error_code ignored;
    const auto path = folder / address;
    const auto found = fs::exists(path, ignored) ? path : folder / PercentDecoded(address).text;
    return FileAddress(fs::absolute(found).lexically_normal());
}

std::string FileAddress(const fs::path& path) {
    std::error_code ignored;
    const auto absolute = fs::absolute(path, ignored).string();
    return "file://" + QByteArray::fromStdString(absolute).toPercentEncoding("/").toStdString();
}

}  // namespace pellago
