#include "platform/registry/registry_tree.h"

#include <algorithm>
#include <utility>

#include "platform/values/text.h"

namespace pellago {

RegistryValue RegistryValue::FromText(std::string_view text) {
    RegistryValue value{REG_SZ, Bytes(text.begin(), text.end())};
    value.data.push_back(0);
    return value;
}

RegistryValue RegistryValue::FromNumber(std::int32_t number) {
    const auto bits = static_cast<std::uint32_t>(number);
    RegistryValue value{REG_DWORD, {}};
    for (const unsigned shift : {0U, 8U, 16U, 24U})
        value.data.push_back(static_cast<std::uint8_t>(bits >> shift & 0xFFU));
    return value;
}

std::optional<std::string> RegistryValue::Text() const {
    if (type != REG_SZ) return std::nullopt;
    return data.empty() ? std::string() : std::string(data.begin(), data.end() - 1);
}

std::optional<std::int32_t> RegistryValue::Number() const {
    if (type != REG_DWORD || data.size() != 4) return std::nullopt;
    std::uint32_t bits = 0;
    for (const std::size_t at : {3U, 2U, 1U, 0U}) bits = bits << 8U | data[at];
    return static_cast<std::int32_t>(bits);
}

RegistryNode::RegistryNode(std::string_view name) : name_(name), folded_name_(UCase(name)) {}

const RegistryValue* RegistryNode::Value(std::string_view name) const {
    const auto found = std::ranges::find(values_, UCase(name), &NamedValue::folded_name);
    return found == values_.end() ? nullptr : &found->value;
}

void RegistryNode::SetValue(std::string_view name, RegistryValue value) {
    auto folded = UCase(name);
    const auto found = std::ranges::find(values_, folded, &NamedValue::folded_name);
    if (found != values_.end())
        found->value = std::move(value);
    else
        values_.push_back({std::string(name), std::move(folded), std::move(value)});
}

bool RegistryNode::DeleteValue(std::string_view name) {
    const auto folded = UCase(name);
    return std::erase_if(values_, [&](const NamedValue& value) { return value.folded_name == folded; }) > 0;
}

const RegistryNode* RegistryNode::Subkey(std::string_view name) const {
    const auto found = std::ranges::find(subkeys_, UCase(name), &RegistryNode::folded_name_);
    return found == subkeys_.end() ? nullptr : &*found;
}

const RegistryNode* RegistryNode::Find(std::string_view path) const {
    const auto* node = this;
    for (const auto name : SplitKeyPath(path)) {
        node = node->Subkey(name);
        if (!node) return nullptr;
    }
    return node;
}

RegistryNode* RegistryNode::Find(std::string_view path) {
    return const_cast<RegistryNode*>(std::as_const(*this).Find(path));
}

RegistryNode& RegistryNode::Make(std::string_view path) {
    auto* node = this;
    for (const auto name : SplitKeyPath(path)) {
        auto* subkey = node->Find(name);
        node = subkey ? subkey : &node->subkeys_.emplace_back(name);
    }
    return *node;
}

bool RegistryNode::DeleteSubkey(std::string_view name) {
    const auto folded = UCase(name);
    return std::erase_if(subkeys_, [&](const RegistryNode& key) { return key.folded_name_ == folded; }) > 0;
}

std::vector<std::string_view> SplitKeyPath(std::string_view path) {
    std::vector<std::string_view> names;
    while (!path.empty()) {
        const auto name = path.substr(0, path.find('\\'));
        path.remove_prefix(std::min(path.size(), name.size() + 1));
        if (!name.empty()) names.push_back(name);
    }
    return names;
}

}  // namespace pellago
