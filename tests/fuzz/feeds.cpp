#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "feeds/channel.h"
#include "platform/loop/message_loop.h"

// The document reader and the three parsers, by the way that a file takes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const pellago::MessageLoop loop;
    static const auto path = (std::filesystem::temp_directory_path() /
                              ("pellago-fuzz-" + std::to_string(std::random_device{}()) + ".xml"))
                                 .string();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    pellago::clsChannel channel;
    channel.Load(path);
    return 0;
}
