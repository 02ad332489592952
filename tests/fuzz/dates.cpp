#include <cstddef>
#include <cstdint>
#include <string_view>

#include "feeds/rss_date_time.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pellago::gRSSDateTime().Parse({reinterpret_cast<const char*>(data), size});
    return 0;
}
