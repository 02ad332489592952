#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pellago {

/// One match of a pattern.
struct RegExpMatch {
    std::string_view value;
    /// Text of each parenthesised group from the first on; empty for a group that took no part.
    std::vector<std::string_view> sub_matches;
};

/// A compiled regular expression of the ECMAScript family; "$" is the very end of the text, also of
/// one that ends in a line break. Only the first match is looked for.
class RegExp final {
public:
    /// Throws RunTimeError 5020 "Syntax error in regular expression" with the reason.
    RegExp(std::string_view pattern, bool ignore_case);
    ~RegExp();
    RegExp(const RegExp&) = delete;
    RegExp& operator=(const RegExp&) = delete;

    /// The views point into `text`. Nothing where there is no match, or where the text makes matching too
    /// costly.
    std::optional<RegExpMatch> Execute(std::string_view text) const;

private:
    struct Compiled;
    std::unique_ptr<Compiled> compiled_;
};

}  // namespace pellago
