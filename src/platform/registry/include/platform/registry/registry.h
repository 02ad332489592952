#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/registry/registry_tree.h"

// The registry: typed values in nested keys below two roots. A key is named by its root and its path, names
// separated by "\". The user's root is "quenlith/user.reg" in the user's configuration folder, the machine's
// is /etc/quenlith/machine.reg. Nothing is kept between calls, so that every call sees what other processes
// have written; every change is on disk when its call returns.
namespace pellago {

inline constexpr std::int32_t HKEY_CURRENT_USER = -2147483647;   // 0x80000001
inline constexpr std::int32_t HKEY_LOCAL_MACHINE = -2147483646;  // 0x80000002

/// Makes a key with all keys above it; one that is there stays as it is.
RegResult RegCreateKeyEx(std::int32_t root, const std::string& path);
/// Deletes a key and its values. It must have no subkeys.
RegResult RegDeleteKey(std::int32_t root, const std::string& path);

/// The empty name is the key's default value.
RegResult RegSetValueEx(std::int32_t root, const std::string& path, const std::string& name,
                        const RegistryValue& value);
RegResult RegDeleteValue(std::int32_t root, const std::string& path, const std::string& name);

/// Nothing when there is no such key or value, or it cannot be read.
std::optional<RegistryValue> RegQueryValueEx(std::int32_t root, const std::string& path,
                                             const std::string& name);
/// The names of a key's values, oldest first; nothing when there is no such key.
std::optional<std::vector<std::string>> RegEnumValues(std::int32_t root, const std::string& path);
/// The names of a key's subkeys, oldest first; nothing when there is no such key.
std::optional<std::vector<std::string>> RegEnumKeyEx(std::int32_t root, const std::string& path);

/// Keeps the machine's root in another file; an empty path brings the real one back. For tests.
void ReplaceMachineRegistry(const std::string& path);

}  // namespace pellago
