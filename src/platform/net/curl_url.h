#pragma once

#include <string>

// Addresses as libcurl reads them: what is said here of a transfer must be what libcurl makes of it.
namespace pellago {

/// The address with blanks and other characters that URLs cannot hold percent-encoded (RFC 3986), empty when
/// it is no URL.
std::string EncodedUrl(const std::string& address);

/// Scheme, name and port, as "https://name:443"; empty for what is no URL.
std::string OriginOf(const std::string& url);

/// Where a redirect from `from` leads, `to` being what libcurl has resolved; empty when that is not on the
/// web. A user's name and password go along only to the same origin.
std::string RedirectedUrl(const std::string& from, const std::string& to);

/// The host of a proxy's address, which may come without a scheme; empty when it is no URL.
std::string ProxyHost(const std::string& address);

}  // namespace pellago
