#include "feed_address.h"

#include <charconv>
#include <cstdint>

#include "store/web_address.h"

namespace pellago::cli {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kPathCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/";

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

std::string FileAddress(const fs::path& path) {
    return "file://" + PercentEncoded(fs::absolute(path).lexically_normal().string());
}

std::string FeedAddress(std::string_view text, const fs::path& folder) {
    auto address = UndecoratedAddress(text);
    if (address.empty() || HasScheme(address)) return address;
    // Lists name files by address ("my%20feed.xml") and by name ("my feed.xml", "100%.xml").
    std::error_code ignored;
    const auto path = folder / address;
    return FileAddress(fs::exists(path, ignored) ? path : folder / PercentDecoded(address));
}

}  // namespace pellago::cli
