#pragma once

#include <string>
#include <string_view>

namespace pellago {

/// True for a text that begins with a scheme and a colon (RFC 3986, 3.1).
bool HasScheme(std::string_view text);

/// Without white space around it, and with a "feed:" before it undone.
std::string UndecoratedAddress(std::string_view text);

/// The host that an address names, in lower case and without its port; empty where it names none.
std::string HostOf(std::string_view address);

/// The address on the web in the first line of a text that says something, a "feed:" before it undone, scheme
/// and host in lower case. Empty where that line is none: of other schemes than http and https, without a
/// host, with white space inside.
std::string WebAddress(std::string_view text);

}  // namespace pellago
