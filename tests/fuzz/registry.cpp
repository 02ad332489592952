#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/registry/registry_text.h"

// What is read must be written so that it reads the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto parsed = pellago::ParseRegistry({reinterpret_cast<const char*>(data), size});
    if (parsed.damaged_line != 0) return 0;
    const auto text = pellago::RegistryText(parsed.registry);
    const auto again = pellago::ParseRegistry(text);
    if (again.damaged_line != 0 || pellago::RegistryText(again.registry) != text) std::abort();
    return 0;
}
