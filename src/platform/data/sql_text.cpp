#include "sql_text.h"

#include <algorithm>

#include "platform/data/connection.h"
#include "platform/data/sqlite_database.h"
#include "sqlite_error.h"

namespace pellago::data {
namespace {

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool IsWord(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
           c == '$' || static_cast<unsigned char>(c) >= 0x80;
}

template <class Belongs>
std::size_t EndOfRun(std::string_view sql, std::size_t at, Belongs belongs) {
    while (at < sql.size() && belongs(sql[at])) ++at;
    return at;
}

std::size_t EndOfQuotation(std::string_view sql, std::size_t at) {
    const char closing = sql[at] == '[' ? ']' : sql[at];
    for (auto end = sql.find(closing, at + 1); end != std::string_view::npos;
         end = sql.find(closing, end + 2)) {
        const bool doubled = closing != ']' && end + 1 < sql.size() && sql[end + 1] == closing;
        if (!doubled) return end + 1;
    }
    throw RunTimeError(data_error::kStatementFailed, kErrorSource,
                       "Missing " + std::string(1, closing) + " in \"" + std::string(sql) + "\".");
}

std::size_t EndOfComment(std::string_view sql, std::size_t at) {
    const auto end = sql[at] == '-' ? sql.find('\n', at) : sql.find("*/", at + 2);
    if (end == std::string_view::npos) return sql.size();
    return sql[at] == '-' ? end : end + 2;
}

Token TokenAt(std::string_view sql, std::size_t at) {
    const char c = sql[at];
    const auto until = [&](TokenKind kind, std::size_t end) { return Token{kind, sql.substr(at, end - at)}; };
    const auto rest = sql.substr(at);
    if (IsSpace(c)) return until(TokenKind::kSpace, EndOfRun(sql, at, IsSpace));
    if (rest.starts_with("--") || rest.starts_with("/*"))
        return until(TokenKind::kSpace, EndOfComment(sql, at));
    if (c == '\'') return until(TokenKind::kString, EndOfQuotation(sql, at));
    if (c == '`' || c == '"' || c == '[') return until(TokenKind::kQuotedName, EndOfQuotation(sql, at));
    if (c == '@') return until(TokenKind::kParameter, EndOfRun(sql, at + 1, IsWord));
    if (IsWord(c)) return until(TokenKind::kWord, EndOfRun(sql, at, IsWord));
    return until(TokenKind::kSymbol, at + 1);
}

/// Position of a parameter among those declared, or their count.
std::size_t Find(const std::vector<std::string_view>& parameters, std::string_view name) {
    const auto found = std::find_if(parameters.begin(), parameters.end(), [&](std::string_view parameter) {
        return SameName(BareName(parameter), BareName(name));
    });
    return static_cast<std::size_t>(found - parameters.begin());
}

/// Which parameters may stand bare. One that the text names with "@" may not: the bare word is a column.
std::vector<bool> FoundBare(const std::vector<Token>& tokens,
                            const std::vector<std::string_view>& parameters) {
    std::vector<bool> bare;
    bare.reserve(parameters.size());
    for (const auto parameter : parameters) bare.push_back(!parameter.starts_with('@'));
    for (const auto& token : tokens)
        if (token.kind == TokenKind::kParameter) {
            const auto index = Find(parameters, token.text);
            if (index == parameters.size())
                throw RunTimeError(data_error::kNoSuchItem, kErrorSource,
                                   "There is no parameter \"" + std::string(token.text) + "\".");
            bare[index] = false;
        }
    return bare;
}

}  // namespace

std::vector<Token> Tokens(std::string_view sql) {
    std::vector<Token> tokens;
    for (std::size_t at = 0; at < sql.size(); at += tokens.back().text.size())
        tokens.push_back(TokenAt(sql, at));
    return tokens;
}

std::string Unquoted(std::string_view quoted) {
    const char closing = quoted.back();
    std::string text;
    for (std::size_t at = 1; at + 1 < quoted.size(); ++at) {
        text += quoted[at];
        if (quoted[at] == closing) ++at;
    }
    return text;
}

std::string_view BareName(std::string_view name) { return name.substr(name.starts_with('@') ? 1 : 0); }

std::string NumberParameters(std::string_view sql, const std::vector<std::string_view>& parameters) {
    const auto tokens = Tokens(sql);
    const auto bare = FoundBare(tokens, parameters);
    std::string numbered;
    for (const auto& token : tokens) {
        const bool may_be = token.kind == TokenKind::kParameter || token.kind == TokenKind::kWord;
        const auto index = may_be ? Find(parameters, token.text) : parameters.size();
        if (index < parameters.size() && (token.kind == TokenKind::kParameter || bare[index]))
            numbered += "?" + std::to_string(index + 1);
        else
            numbered += token.text;
    }
    return numbered;
}

}  // namespace pellago::data
