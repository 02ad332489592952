#include "row_filter.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "platform/data/connection.h"
#include "platform/values/text.h"
#include "sql_text.h"
#include "sqlite_error.h"

namespace pellago::data {
namespace {

/// Reads a text token by token, blanks left out.
class Reader final {
public:
    Reader(const std::string& text, const Columns& columns) : text_(text), columns_(columns) {
        for (const auto& token : Tokens(text))
            if (token.kind != TokenKind::kSpace) tokens_.push_back(token);
    }

    bool AtEnd() const { return at_ == tokens_.size(); }

    /// Goes past that word or sign, if it is the next one.
    bool Skip(std::string_view expected) {
        if (AtEnd() || !SameName(tokens_[at_].text, expected)) return false;
        ++at_;
        return true;
    }

    Token Next() {
        if (AtEnd()) Fail();
        return tokens_[at_++];
    }

    std::string ColumnName() {
        const auto token = Next();
        if (token.kind != TokenKind::kWord && token.kind != TokenKind::kQuotedName) Fail();
        const auto name = token.kind == TokenKind::kWord ? std::string(token.text) : Unquoted(token.text);
        const auto count = std::count_if(columns_.begin(), columns_.end(),
                                         [&](const Column& column) { return SameName(column.name, name); });
        if (count == 1) return QuotedName(name);
        throw RunTimeError(
            data_error::kNoSuchItem, kErrorSource,
            (count == 0 ? "There is no column \"" : "There is more than one column \"") + name + "\".");
    }

    [[noreturn]] void Fail() const {
        throw RunTimeError(data_error::kStatementFailed, kErrorSource,
                           "\"" + text_ + "\" is not a valid filter or sort order.");
    }

private:
    const std::string& text_;
    const Columns& columns_;
    std::vector<Token> tokens_;
    std::size_t at_ = 0;
};

Variant Number(Reader& reader, const std::string& digits) {
    if (digits.find_first_not_of("-0123456789.") != std::string::npos) reader.Fail();
    const auto* end = digits.data() + digits.size();
    std::int32_t whole = 0;
    if (const auto [parsed, failure] = std::from_chars(digits.data(), end, whole);
        failure == std::errc() && parsed == end)
        return whole;
    double value = 0;
    if (const auto [parsed, failure] = std::from_chars(digits.data(), end, value);
        failure != std::errc() || parsed != end)
        reader.Fail();
    return value;
}

Variant Value(Reader& reader) {
    if (reader.Skip("True")) return true;
    if (reader.Skip("False")) return false;
    const std::string sign = reader.Skip("-") ? "-" : "";
    const auto token = reader.Next();
    if (sign.empty() && token.kind == TokenKind::kString) return Unquoted(token.text);
    if (token.kind != TokenKind::kWord) reader.Fail();
    std::string digits(token.text);
    if (reader.Skip(".")) digits.append(".").append(reader.Next().text);
    return Number(reader, sign + digits);
}

/// The database's pattern for one in which "*" stands for any text.
std::string LikePattern(const std::string& pattern) {
    std::string result;
    for (const char c : pattern) {
        if (c == '%' || c == '_' || c == '\\') result += '\\';
        result += c == '*' ? '%' : c;
    }
    return result;
}

/// "=", "<", ">", "<=" or ">="; empty when none of them follows.
std::string Comparison(Reader& reader) {
    for (const std::string sign : {"<", ">"})
        if (reader.Skip(sign)) return sign + (reader.Skip("=") ? "=" : "");
    return reader.Skip("=") ? "=" : "";
}

void AddComparison(Reader& reader, Condition& condition) {
    const auto parameter = [&] { return "?" + std::to_string(condition.values.size()); };
    condition.sql += reader.ColumnName();
    if (const auto sign = Comparison(reader); !sign.empty()) {
        if (sign == "=" && reader.Skip("Null")) {
            condition.sql += " IS NULL";
            return;
        }
        condition.values.push_back(Value(reader));
        condition.sql.append(" ").append(sign).append(" ").append(parameter());
        return;
    }
    if (!reader.Skip("LIKE")) reader.Fail();
    const auto token = reader.Next();
    if (token.kind != TokenKind::kString) reader.Fail();
    condition.values.emplace_back(LikePattern(Unquoted(token.text)));
    condition.sql += " LIKE " + parameter() + " ESCAPE '\\'";
}

}  // namespace

Condition ParseFilter(const std::string& filter, const Columns& columns) {
    Condition condition;
    Reader reader(filter, columns);
    while (!reader.AtEnd()) {
        AddComparison(reader, condition);
        if (reader.AtEnd()) break;
        if (!reader.Skip("AND") || reader.AtEnd()) reader.Fail();
        condition.sql += " AND ";
    }
    return condition;
}

std::string ParseSort(const std::string& sort, const Columns& columns) {
    std::string order;
    Reader reader(sort, columns);
    while (!reader.AtEnd()) {
        order += reader.ColumnName();
        if (reader.Skip("DESC"))
            order += " DESC";
        else
            reader.Skip("ASC");
        if (reader.AtEnd()) break;
        if (!reader.Skip(",") || reader.AtEnd()) reader.Fail();
        order += ", ";
    }
    return order;
}

std::string QuotedName(const std::string& name) { return "\"" + Replace(name, "\"", "\"\"") + "\""; }

}  // namespace pellago::data
