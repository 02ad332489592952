#include "store/web_address.h"

#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kSchemeCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+.-";
constexpr std::string_view kFeedScheme = "feed:";
constexpr std::string_view kAuthorityMark = "://";

std::string_view Trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(kWhiteSpace);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kWhiteSpace) - begin + 1);
}

/// What stands between user and port, or nothing. A view into `address`.
std::string_view HostIn(std::string_view address) {
    const auto begin = address.find(kAuthorityMark);
    if (begin == std::string_view::npos) return {};
    auto host = address.substr(begin + kAuthorityMark.size());
    host = host.substr(0, host.find_first_of("/?#"));
    host = host.substr(host.rfind('@') + 1);
    if (host.starts_with('[')) return host.substr(0, host.find(']') + 1);
    return host.substr(0, host.find(':'));
}

}  // namespace

bool HasScheme(std::string_view text) {
    const auto colon = text.find_first_not_of(kSchemeCharacters);
    return colon != std::string_view::npos && colon > 0 && text[colon] == ':' &&
           kLetters.find(text.front()) != std::string_view::npos;
}

std::string UndecoratedAddress(std::string_view text) {
    const auto address = Trimmed(text);
    if (!EqualNoCase(address.substr(0, kFeedScheme.size()), kFeedScheme)) return std::string(address);
    const auto rest = address.substr(kFeedScheme.size());
    if (rest.starts_with("//")) return "http:" + std::string(rest);
    return HasScheme(rest) ? std::string(rest) : "http://" + std::string(rest);
}

std::string HostOf(std::string_view address) { return LCase(HostIn(address)); }

std::string WebAddress(std::string_view text) {
    text = Trimmed(text);
    const auto address = UndecoratedAddress(text.substr(0, text.find_first_of("\r\n")));
    const auto scheme = LCase(address.substr(0, address.find(kAuthorityMark)));
    const auto host = HostIn(address);
    if ((scheme != "http" && scheme != "https") || host.empty() ||
        address.find_first_of(kWhiteSpace) != std::string::npos)
        return {};
    const auto at = static_cast<std::size_t>(host.data() - address.data());
    return scheme + address.substr(scheme.size(), at - scheme.size()) + LCase(host) +
           address.substr(at + host.size());
}

}  // namespace pellago
