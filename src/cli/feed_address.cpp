#include "feed_address.h"

#include <array>
#include <charconv>

#include "platform/text.h"

namespace pellago::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kSchemeCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+.-";
constexpr std::string_view kPathCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/";
constexpr std::string_view kFeedScheme = "feed:";

std::string_view Trimmed(std::string_view text) {
    const auto begin = text.find_first_not_of(kWhiteSpace);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kWhiteSpace) - begin + 1);
}

std::string WithoutFeedScheme(std::string_view address) {
    if (!EqualNoCase(address.substr(0, kFeedScheme.size()), kFeedScheme)) return std::string(address);
    const auto rest = address.substr(kFeedScheme.size());
    if (rest.substr(0, 2) == "//") return "http:" + std::string(rest);
    return HasScheme(rest) ? std::string(rest) : "http://" + std::string(rest);
}

std::string PercentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        std::uint8_t byte = 0;
        const auto* end = text.data() + at + 3;
        if (text[at] == '%' && at + 2 < text.size() &&
            std::from_chars(text.data() + at + 1, end, byte, 16).ptr == end) {
            decoded += static_cast<char>(byte);
            at += 2;
        } else {
            decoded += text[at];
        }
    }
    return decoded;
}

std::string PercentEncoded(std::string_view path) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : path) {
        if (kPathCharacters.find(character) != std::string_view::npos) {
            encoded += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
        }
    }
    return encoded;
}

}  // namespace

bool HasScheme(std::string_view text) {
    const auto colon = text.find_first_not_of(kSchemeCharacters);
    return colon != std::string_view::npos && colon > 0 && text[colon] == ':' &&
           kLetters.find(text.front()) != std::string_view::npos;
}

std::string FileAddress(const fs::path& path) {
    return "file://" + PercentEncoded(fs::absolute(path).lexically_normal().string());
}

std::string FeedAddress(std::string_view text, const fs::path& folder) {
    auto address = WithoutFeedScheme(Trimmed(text));
    if (address.empty() || HasScheme(address)) return address;
    // Lists name files by address ("my%20feed.xml") and by name ("my feed.xml", "100%.xml").
    std::error_code ignored;
    const auto path = folder / address;
    return FileAddress(fs::exists(path, ignored) ? path : folder / PercentDecoded(address));
}

std::string HostOf(std::string_view address) {
    const auto begin = address.find("://");
    if (begin == std::string_view::npos) return {};
    auto host = address.substr(begin + 3);
    host = host.substr(0, host.find_first_of("/?#"));
    host = host.substr(host.rfind('@') + 1);
    if (!host.empty() && host.front() != '[') host = host.substr(0, host.find(':'));
    return LCase(host);
}

}  // namespace pellago::cli
