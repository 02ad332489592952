#include "platform/registry/registry_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00";
constexpr std::string_view kOldHeader = "REGEDIT4";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kHexLineWidth = 78;

struct Damage {};

class Parser {
public:
    explicit Parser(std::string_view text) : text_(text) {}

    void Parse() {
        Skip(kByteOrderMark);
        if (Skip(kHeader) || Skip(kOldHeader))
            EndLine();
        else
            throw Damage();
        while (at_ < text_.size()) {
            line_start_ = at_;
            Line();
        }
    }

    RegistryNode Take() { return std::move(registry_); }
    std::size_t LineNumber() const {
        const auto read = text_.substr(0, line_start_);
        return static_cast<std::size_t>(std::ranges::count(read, '\n')) + 1;
    }

private:
    char Peek() const { return at_ < text_.size() ? text_[at_] : '\n'; }

    bool Skip(std::string_view expected) {
        if (!text_.substr(at_).starts_with(expected)) return false;
        at_ += expected.size();
        return true;
    }

    void Need(std::string_view expected) {
        if (!Skip(expected)) throw Damage();
    }

    void SkipBlanks() {
        while (Peek() == ' ' || Peek() == '\t') ++at_;
    }

    void EndLine() {
        SkipBlanks();
        Skip("\r");
        if (at_ < text_.size()) Need("\n");
    }

    void Line() {
        SkipBlanks();
        switch (Peek()) {
            case '[':
                return Key();
            case '"':
            case '@':
                return Value();
            case ';':
                at_ = std::min(text_.find('\n', at_), text_.size());
                break;
            default:
                break;
        }
        EndLine();
    }

    // A key's name may hold brackets: the last bracket of the line is the one that closes it.
    void Key() {
        Need("[");
        const auto line = text_.substr(at_, text_.find('\n', at_) - at_);
        const auto close = line.rfind(']');
        if (close == std::string_view::npos) throw Damage();
        const auto path = line.substr(0, close);
        const auto names = SplitKeyPath(path);
        if (names.empty() || names.size() > RegistryNode::kMaxDepth + 1) throw Damage();
        key_ = &registry_.Make(path);
        at_ += close + 1;
        EndLine();
    }

    void Value() {
        if (!key_) throw Damage();
        const auto name = Skip("@") ? std::string() : Quoted();
        SkipBlanks();
        Need("=");
        SkipBlanks();
        auto value = Data();
        EndLine();
        key_->SetValue(name, std::move(value));
    }

    RegistryValue Data() {
        if (Peek() == '"') return RegistryValue::FromText(Quoted());
        if (Skip("dword:")) return RegistryValue::FromNumber(static_cast<std::int32_t>(Hex(8)));
        Need("hex");
        RegistryValue value{REG_BINARY, {}};
        if (Skip("(")) {
            value.type = Hex(8);
            Need(")");
        }
        Need(":");
        value.data = HexBytes();
        return value;
    }

    std::string Quoted() {
        Need("\"");
        std::string result;
        while (!Skip("\"")) {
            const bool escaped = Skip("\\");
            const char next = at_ < text_.size() ? text_[at_++] : '\0';
            if (next == '\0' || (escaped && next != '\\' && next != '"')) throw Damage();
            result += next;
        }
        return result;
    }

    std::uint32_t Hex(std::size_t max_digits) {
        const auto digits = text_.substr(at_, max_digits);
        std::uint32_t value = 0;
        const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
        if (failure != std::errc()) throw Damage();
        at_ += static_cast<std::size_t>(end - digits.data());
        return value;
    }

    Bytes HexBytes() {
        Bytes bytes;
        SkipContinuation();
        if (Peek() == '\n' || Peek() == '\r') return bytes;
        for (;;) {
            bytes.push_back(static_cast<std::uint8_t>(Hex(2)));
            SkipBlanks();
            if (!Skip(",")) return bytes;
            SkipContinuation();
        }
    }

    void SkipContinuation() {
        SkipBlanks();
        while (Skip("\\")) {
            if (at_ >= text_.size()) throw Damage();
            EndLine();
            SkipBlanks();
        }
    }

    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t line_start_ = 0;
    RegistryNode registry_;
    RegistryNode* key_ = nullptr;
};

std::string Escaped(std::string_view text) {
    return '"' + Replace(Replace(text, "\\", "\\\\"), "\"", "\\\"") + '"';
}

std::string HexText(std::uint32_t number, std::size_t width) {
    std::array<char, 8> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
    const std::string text(digits.data(), end);
    return std::string(width - std::min(width, text.size()), '0') + text;
}

void AppendHexBytes(std::string& text, const Bytes& bytes, std::size_t column) {
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (at > 0) text += ',';
        if (at > 0 && column > kHexLineWidth) {
            text += "\\\n  ";
            column = 2;
        }
        text += HexText(bytes[at], 2);
        column += 3;
    }
}

bool FitsInQuotes(const std::string& text) {
    return text.find('\0') == std::string::npos && ValidUtf8(text) == text;
}

void AppendValue(std::string& text, const RegistryNode::NamedValue& named) {
    const auto& value = named.value;
    const auto name = (named.name.empty() ? "@" : Escaped(named.name)) + '=';
    text += name;
    const auto content = value.data.empty() || value.data.back() != 0 ? std::nullopt : value.Text();
    if (content && FitsInQuotes(*content)) {
        text += Escaped(*content);
    } else if (const auto number = value.Number()) {
        text += "dword:" + HexText(static_cast<std::uint32_t>(*number), 8);
    } else {
        const auto type = value.type == REG_BINARY ? "hex:" : "hex(" + HexText(value.type, 1) + "):";
        text += type;
        AppendHexBytes(text, value.data, name.size() + type.size());
    }
    text += '\n';
}

void AppendKeys(std::string& text, const RegistryNode& parent, const std::string& path) {
    for (const auto& key : parent.Subkeys()) {
        const auto key_path = path + key.Name();
        text += "\n[" + key_path + "]\n";
        for (const auto& value : key.Values()) AppendValue(text, value);
        AppendKeys(text, key, key_path + '\\');
    }
}

}  // namespace

ParsedRegistry ParseRegistry(std::string_view text) {
    if (text.empty()) return {RegistryNode(), 0};
    Parser parser(text);
    try {
        parser.Parse();
    } catch (const Damage&) {
        return {RegistryNode(), parser.LineNumber()};
    }
    return {parser.Take(), 0};
}

std::string RegistryText(const RegistryNode& registry) {
    std::string text(kHeader);
    text += '\n';
    AppendKeys(text, registry, "");
    return text;
}

}  // namespace pellago
