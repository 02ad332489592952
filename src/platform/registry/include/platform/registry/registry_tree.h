#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/values/variant.h"

// What a registry holds: keys that hold keys, and typed values. Names are compared without regard to case
// and shown as they were first written; keys and values keep the order in which they were made.
namespace pellago {

inline constexpr std::uint32_t REG_SZ = 1;
inline constexpr std::uint32_t REG_BINARY = 3;
inline constexpr std::uint32_t REG_DWORD = 4;

/// A value's type and bytes: REG_SZ is UTF-8 text with its closing NUL, REG_DWORD four bytes, lowest first.
/// Values of other types than the three above come from other programs, and are kept as they are.
struct RegistryValue {
    std::uint32_t type = REG_SZ;
    Bytes data;

    static RegistryValue FromText(std::string_view text);
    static RegistryValue FromNumber(std::int32_t number);

    /// The text of a REG_SZ, without its closing NUL; nothing for other types.
    std::optional<std::string> Text() const;
    /// The number of a REG_DWORD; nothing for other types and when there are not four bytes.
    std::optional<std::int32_t> Number() const;

    friend bool operator==(const RegistryValue&, const RegistryValue&) = default;
};

/// The classic result numbers.
enum class RegResult : std::int32_t {
    kSuccess = 0,
    kFileNotFound = 2,
    kAccessDenied = 5,      ///< the root's file cannot be read or written, or the key has subkeys
    kInvalidParameter = 87  ///< no such root; a name that is too long, not UTF-8, or holds a NUL (a key's
                            ///< name: any control character); a path that is too deep
};

/// One key. Paths are names separated by "\"; empty names in them count for nothing.
class RegistryNode final {
public:
    /// Keys may be nested this deep below a root.
    static constexpr std::size_t kMaxDepth = 512;

    struct NamedValue {
        std::string name;
        std::string folded_name;
        RegistryValue value;
    };

    explicit RegistryNode(std::string_view name = {});

    const std::string& Name() const { return name_; }
    const std::vector<NamedValue>& Values() const { return values_; }
    const std::vector<RegistryNode>& Subkeys() const { return subkeys_; }

    /// The default value has the empty name.
    const RegistryValue* Value(std::string_view name) const;
    void SetValue(std::string_view name, RegistryValue value);
    bool DeleteValue(std::string_view name);

    /// The key at `path`, this one for an empty path; null when there is none.
    const RegistryNode* Find(std::string_view path) const;
    RegistryNode* Find(std::string_view path);
    /// The key at `path`, made when it is missing.
    RegistryNode& Make(std::string_view path);
    /// Deletes a key directly below this one, with all that it holds.
    bool DeleteSubkey(std::string_view name);

private:
    const RegistryNode* Subkey(std::string_view name) const;

    std::string name_;
    std::string folded_name_;
    std::vector<NamedValue> values_;
    std::vector<RegistryNode> subkeys_;
};

std::vector<std::string_view> SplitKeyPath(std::string_view path);

}  // namespace pellago
