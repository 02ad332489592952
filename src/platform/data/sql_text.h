#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pellago::data {

enum class TokenKind { kSpace, kWord, kParameter, kQuotedName, kString, kSymbol };

struct Token {
    TokenKind kind;
    std::string_view text;  ///< as written, quotes included
};

/// The words and signs of an SQL text, comments among the blanks; joined they are the text again. Throws
/// RunTimeError when a quotation or a bracket is not closed.
std::vector<Token> Tokens(std::string_view sql);

/// The text inside a quotation's marks, doubled marks made one.
std::string Unquoted(std::string_view quoted);

/// `sql` with each parameter as "?" and its number from 1 in `parameters`. There a name without "@" is also
/// found bare when the text nowhere gives it an "@". Throws data_error::kNoSuchItem for an "@Name" that is
/// none of them.
std::string NumberParameters(std::string_view sql, const std::vector<std::string_view>& parameters);

/// A parameter's name without its "@".
std::string_view BareName(std::string_view name);

}  // namespace pellago::data
