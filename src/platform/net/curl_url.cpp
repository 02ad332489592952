#include "curl_url.h"

#include <curl/curl.h>

#include <memory>

#include "platform/values/text.h"

namespace pellago {
namespace {

using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

/// Null when `text` is no URL.
Url Parsed(const std::string& text, unsigned flags = 0) {
    Url url(curl_url(), curl_url_cleanup);
    if (!url || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), flags) != CURLUE_OK) url.reset();
    return url;
}

/// Empty when there is no such part.
std::string Part(const Url& url, CURLUPart part, unsigned flags = 0) {
    char* text = nullptr;
    if (!url || curl_url_get(url.get(), part, &text, flags) != CURLUE_OK) return {};
    const std::unique_ptr<char, decltype(&curl_free)> owner(text, curl_free);
    return text;
}

std::string Origin(const Url& url) {
    const auto host = LCase(Part(url, CURLUPART_HOST));
    if (host.empty()) return {};
    return Part(url, CURLUPART_SCHEME) + "://" + host + ":" + Part(url, CURLUPART_PORT, CURLU_DEFAULT_PORT);
}

}  // namespace

std::string EncodedUrl(const std::string& address) {
    return Part(Parsed(address, CURLU_URLENCODE | CURLU_ALLOW_SPACE), CURLUPART_URL);
}

std::string OriginOf(const std::string& url) { return Origin(Parsed(url)); }

std::string RedirectedUrl(const std::string& from, const std::string& to) {
    const auto target = Parsed(to, CURLU_URLENCODE | CURLU_ALLOW_SPACE);
    const auto scheme = Part(target, CURLUPART_SCHEME);
    if (scheme != "http" && scheme != "https") return {};
    const auto source = Parsed(from);
    if (Origin(source) == Origin(target) && Part(target, CURLUPART_USER).empty())
        for (const auto part : {CURLUPART_USER, CURLUPART_PASSWORD})
            if (const auto value = Part(source, part); !value.empty())
                curl_url_set(target.get(), part, value.c_str(), 0);
    return Part(target, CURLUPART_URL);
}

std::string ProxyHost(const std::string& address) {
    return Part(Parsed(address, CURLU_NON_SUPPORT_SCHEME | CURLU_GUESS_SCHEME), CURLUPART_HOST);
}

}  // namespace pellago
