#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace pellago::cli {

using Json = nlohmann::ordered_json;

/// A document as text with a line break at its end. All but ASCII is escaped: whatever feeds say, a terminal
/// only gets what it can show.
inline std::string JsonText(const Json& document) {
    return document.dump(2, ' ', true, Json::error_handler_t::replace) + "\n";
}

}  // namespace pellago::cli
