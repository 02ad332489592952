#pragma once

#include <cstdint>
#include <string>

#include "platform/values/variant.h"

namespace pellago {

/// What RunAtStartUp does with the start entry.
enum class StartEntryMode : std::int32_t {
    kDelete = 0,  ///< no start at log-in
    kOnce = 1,    ///< kept under the "RunOnce" key alone: no desktop here reads that
    kAlways = 2   ///< at each log-in
};

/// Writes or deletes the entry by which the session starts a program: a value of the user's Run key, which is
/// mirrored to the desktop's autostart folder. An empty `name` is the program's title, an empty `command` the
/// program's path.
void RunAtStartUp(StartEntryMode mode, std::string name, std::string command);

/// Writes a value of a key that is there: text, a 32-bit number or bytes. False when the key cannot be
/// opened or written. Error 1001 "Unsupported value type", shown by the error handler, for any other type.
bool SetRegistryValue(std::int32_t root, const std::string& subkey, const std::string& value_name,
                      const Variant& value);
bool DeleteRegistryValue(std::int32_t root, const std::string& subkey, const std::string& value_name);

}  // namespace pellago
