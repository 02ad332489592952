#include "platform/registry/registry.h"

#include <algorithm>
#include <string_view>

#include "platform/files/program.h"
#include "platform/registry/registry_file.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr const char* kMachineRegistry = "/etc/quenlith/machine.reg";
constexpr std::size_t kMaxKeyName = 255;
constexpr std::size_t kMaxValueName = 16383;

struct Root {
    std::string_view name;
    RegistryFile file;
};

std::string& MachineRegistryPath() {
    static std::string path;
    return path;
}

std::optional<Root> RootOf(std::int32_t root) {
    if (root == HKEY_CURRENT_USER)
        return Root{"HKEY_CURRENT_USER",
                    RegistryFile(JoinPath(UserFolder("XDG_CONFIG_HOME", ".config"), "quenlith/user.reg"))};
    if (root == HKEY_LOCAL_MACHINE)
        return Root{"HKEY_LOCAL_MACHINE",
                    RegistryFile(MachineRegistryPath().empty() ? kMachineRegistry : MachineRegistryPath())};
    return std::nullopt;
}

bool IsUtf8(std::string_view text) { return ValidUtf8(text) == text; }

bool IsKeyName(std::string_view name) {
    const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20; };
    return Len(name) <= kMaxKeyName && IsUtf8(name) && std::ranges::none_of(name, is_control);
}

bool IsKeyPath(const std::string& path) {
    const auto names = SplitKeyPath(path);
    return names.size() <= RegistryNode::kMaxDepth && std::ranges::all_of(names, IsKeyName);
}

bool IsValueName(const std::string& name) {
    return Len(name) <= kMaxValueName && IsUtf8(name) && name.find('\0') == std::string::npos;
}

/// Lets `change` work on the key of the root itself.
RegResult ChangeRoot(std::int32_t root, const std::string& path,
                     const std::function<RegResult(RegistryNode& root_key)>& change) {
    const auto where = RootOf(root);
    if (!where || !IsKeyPath(path)) return RegResult::kInvalidParameter;
    return where->file.Change([&](RegistryNode& registry) { return change(registry.Make(where->name)); });
}

/// Lets `change` work on the key at `path`; kFileNotFound when there is no such key.
RegResult ChangeKey(std::int32_t root, const std::string& path,
                    const std::function<RegResult(RegistryNode& key)>& change) {
    return ChangeRoot(root, path, [&](RegistryNode& root_key) {
        auto* key = root_key.Find(path);
        return key ? change(*key) : RegResult::kFileNotFound;
    });
}

/// What `answer` makes of the key at `path`; nothing when there is no such key.
template <class Answer>
auto AskKey(std::int32_t root, const std::string& path, Answer answer) -> decltype(answer(RegistryNode())) {
    const auto where = RootOf(root);
    if (!where) return std::nullopt;
    const auto registry = where->file.Read();
    const auto* root_key = registry.Find(where->name);
    const auto* key = root_key ? root_key->Find(path) : nullptr;
    return key ? answer(*key) : std::nullopt;
}

}  // namespace

RegResult RegCreateKeyEx(std::int32_t root, const std::string& path) {
    return ChangeRoot(root, path, [&](RegistryNode& root_key) {
        root_key.Make(path);
        return RegResult::kSuccess;
    });
}

RegResult RegDeleteKey(std::int32_t root, const std::string& path) {
    const auto names = SplitKeyPath(path);
    if (names.empty()) return RegResult::kInvalidParameter;
    const auto name = names.back();
    const auto parent_path = path.substr(0, static_cast<std::size_t>(name.data() - path.data()));
    return ChangeKey(root, parent_path, [&](RegistryNode& parent) {
        const auto* key = parent.Find(name);
        if (!key) return RegResult::kFileNotFound;
        if (!key->Subkeys().empty()) return RegResult::kAccessDenied;
        parent.DeleteSubkey(name);
        return RegResult::kSuccess;
    });
}

RegResult RegSetValueEx(std::int32_t root, const std::string& path, const std::string& name,
                        const RegistryValue& value) {
    if (!IsValueName(name)) return RegResult::kInvalidParameter;
    return ChangeKey(root, path, [&](RegistryNode& key) {
        key.SetValue(name, value);
        return RegResult::kSuccess;
    });
}

RegResult RegDeleteValue(std::int32_t root, const std::string& path, const std::string& name) {
    return ChangeKey(root, path, [&](RegistryNode& key) {
        return key.DeleteValue(name) ? RegResult::kSuccess : RegResult::kFileNotFound;
    });
}

std::optional<RegistryValue> RegQueryValueEx(std::int32_t root, const std::string& path,
                                             const std::string& name) {
    return AskKey(root, path, [&](const RegistryNode& key) {
        const auto* value = key.Value(name);
        return value ? std::optional(*value) : std::nullopt;
    });
}

std::optional<std::vector<std::string>> RegEnumValues(std::int32_t root, const std::string& path) {
    return AskKey(root, path, [](const RegistryNode& key) {
        std::vector<std::string> names;
        for (const auto& value : key.Values()) names.push_back(value.name);
        return std::optional(names);
    });
}

std::optional<std::vector<std::string>> RegEnumKeyEx(std::int32_t root, const std::string& path) {
    return AskKey(root, path, [](const RegistryNode& key) {
        std::vector<std::string> names;
        for (const auto& subkey : key.Subkeys()) names.push_back(subkey.Name());
        return std::optional(names);
    });
}

void ReplaceMachineRegistry(const std::string& path) { MachineRegistryPath() = path; }

}  // namespace pellago
