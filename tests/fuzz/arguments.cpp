#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "app/start/command_args.h"

// Whatever the line: each argument has a name and a value, and both stand in the line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto line = "/" + std::string(reinterpret_cast<const char*>(data), size);
    pellago::CCommandArgs arguments;
    for (const std::int32_t style : {1, 2}) {
        arguments.Init(line, style, "/", "=");
        for (std::int16_t at = 1; at <= arguments.Count(); ++at) {
            if (line.find(arguments.Name(at)) == std::string::npos) std::abort();
            if (line.find(arguments.Value(std::int32_t{at})) == std::string::npos) std::abort();
        }
    }
    return 0;
}
