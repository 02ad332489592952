#include "platform/values/addresses.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace pellago {
namespace {

using Kind = DocumentAddress::Kind;

bool IsAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsSchemeChar(char c) { return IsAlpha(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'; }

/// In lower case, empty for a plain path (RFC 3986, 3.1).
std::string Scheme(std::string_view address) {
    const auto colon = address.find(':');
    if (colon == std::string_view::npos || colon == 0 || !IsAlpha(address.front())) return {};
    std::string scheme(address.substr(0, colon));
    if (!std::all_of(scheme.begin(), scheme.end(), IsSchemeChar)) return {};
    for (char& c : scheme)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return scheme;
}

std::optional<std::string> PercentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded.push_back(text[at]);
            continue;
        }
        unsigned value = 0;
        const auto digits = text.substr(at + 1, 2);
        const auto* end = digits.data() + digits.size();
        if (digits.size() != 2 || std::from_chars(digits.data(), end, value, 16).ptr != end || value == 0)
            return std::nullopt;
        decoded.push_back(static_cast<char>(value));
        at += 2;
    }
    return decoded;
}

DocumentAddress FileAddress(std::string_view rest) {
    rest = rest.substr(0, rest.find_first_of("?#"));
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        const auto host = rest.substr(0, rest.find('/'));
        if (!host.empty() && host != "localhost")
            return {Kind::kUnsupported, "The file address names another machine"};
        rest.remove_prefix(host.size());
    }
    auto path = PercentDecoded(rest);
    if (!path || !path->starts_with('/')) return {Kind::kUnsupported, "The file address is not valid"};
    return {Kind::kFile, std::move(*path)};
}

}  // namespace

DocumentAddress ParseAddress(std::string_view address) {
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    const auto first = address.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) return {Kind::kUnsupported, "The address is empty"};
    address = address.substr(first, address.find_last_not_of(kWhiteSpace) - first + 1);
    const auto scheme = Scheme(address);
    if (scheme.empty()) return {Kind::kFile, std::string(address)};
    if (scheme == "http" || scheme == "https") return {Kind::kHttp, std::string(address)};
    if (scheme == "file") return FileAddress(address.substr(scheme.size() + 1));
    return {Kind::kUnsupported, "Addresses with \"" + scheme + ":\" are not supported"};
}

}  // namespace pellago
