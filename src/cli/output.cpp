#include "cli/output.h"

#include <unistd.h>

#include <cerrno>

namespace pellago::cli {

std::streambuf::int_type Output::Buffer::overflow(int_type character) {
    if (sync() != 0) return traits_type::eof();
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    return sputc(traits_type::to_char_type(character));
}

int Output::Buffer::sync() {
    for (const char* next = pbase(); error == 0 && next < pptr();) {
        const auto count = ::write(descriptor_, next, static_cast<std::size_t>(pptr() - next));
        if (count >= 0)
            next += count;
        else if (errno != EINTR)
            error = errno;
    }
    setp(bytes_.data(), bytes_.data() + bytes_.size());
    return error == 0 ? 0 : -1;
}

}  // namespace pellago::cli
