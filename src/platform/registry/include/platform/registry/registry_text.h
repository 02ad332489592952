#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/registry/registry_tree.h"

// The published text form of registry exports, in UTF-8.
//
// Texts stand in quotes, line breaks in them as they are; only "\" and the quote itself are escaped. A text
// that holds a NUL or is not UTF-8 is written as the bytes of its value: hex(1).
namespace pellago {

struct ParsedRegistry {
    RegistryNode registry;         ///< its subkeys are the roots
    std::size_t damaged_line = 0;  ///< 0 when the text is sound; else `registry` holds nothing
};

/// Takes the headers "Windows Registry Editor Version 5.00" and "REGEDIT4", both line ends and a byte-order
/// mark. No text at all is an empty registry.
ParsedRegistry ParseRegistry(std::string_view text);

std::string RegistryText(const RegistryNode& registry);

}  // namespace pellago
