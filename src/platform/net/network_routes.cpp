#include "network_routes.h"

#include <arpa/inet.h>
#include <linux/ipv6_route.h>
#include <linux/route.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>

namespace pellago {
namespace {

std::vector<std::vector<std::string>> Rows(std::string_view table) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines{std::string(table)};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        auto& row = rows.emplace_back();
        for (std::string word; words >> word;) row.push_back(word);
    }
    return rows;
}

std::optional<std::uint32_t> Number(std::string_view text, int base) {
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

bool IsUsable(std::uint32_t flags) { return (flags & RTF_UP) != 0 && (flags & RTF_REJECT) == 0; }

bool LeavesTheLink(std::uint32_t address) {
    const auto first = address >> 24U;
    const auto second = address >> 16U & 0xFFU;
    const bool is_link_local = first == 169 && second == 254;
    return first != 127 && first < 224 && !is_link_local;
}

bool LeavesTheLink(std::string_view address) {
    const auto first = Number(address.substr(0, 4), 16);
    if (!first || address.size() != 32) return false;
    const bool is_link_local = (*first & 0xFFC0U) == 0xFE80U;
    const bool is_multicast = *first >> 8U == 0xFFU;
    return !is_link_local && !is_multicast && address != "00000000000000000000000000000001";
}

std::optional<NetworkRoute> Ipv4Route(const std::vector<std::string>& row) {
    if (row.size() < 8) return std::nullopt;
    const auto destination = Number(row[1], 16);
    const auto gateway = Number(row[2], 16);
    const auto flags = Number(row[3], 16);
    const auto metric = Number(row[6], 10);
    const auto mask = Number(row[7], 16);
    if (!destination || !gateway || !flags || !metric || !mask) return std::nullopt;
    if (!IsUsable(*flags) || !LeavesTheLink(ntohl(*destination))) return std::nullopt;
    return NetworkRoute{row[0], *destination == 0 && *mask == 0, *gateway != 0, *metric};
}

std::optional<NetworkRoute> Ipv6Route(const std::vector<std::string>& row) {
    if (row.size() < 10) return std::nullopt;
    const auto prefix = Number(row[1], 16);
    const auto metric = Number(row[5], 16);
    const auto flags = Number(row[8], 16);
    if (!prefix || !metric || !flags) return std::nullopt;
    constexpr std::uint32_t kOwnAddress = RTF_LOCAL | RTF_ANYCAST;
    if (!IsUsable(*flags) || (*flags & kOwnAddress) != 0 || !LeavesTheLink(row[0])) return std::nullopt;
    const bool has_gateway = std::ranges::any_of(row[4], [](char digit) { return digit != '0'; });
    return NetworkRoute{row[9], *prefix == 0, has_gateway, *metric};
}

template <class ToRoute>
std::vector<NetworkRoute> Routes(std::string_view table, ToRoute to_route) {
    std::vector<NetworkRoute> routes;
    for (const auto& row : Rows(table))
        if (auto route = to_route(row)) routes.push_back(*std::move(route));
    return routes;
}

}  // namespace

std::vector<NetworkRoute> ParseIpv4Routes(std::string_view table) { return Routes(table, Ipv4Route); }
std::vector<NetworkRoute> ParseIpv6Routes(std::string_view table) { return Routes(table, Ipv6Route); }

}  // namespace pellago
