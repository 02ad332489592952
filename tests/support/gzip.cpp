#include "support/gzip.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace pellago::test {
namespace {

/// A deflate stream of one block with the fixed codes (RFC 1951, 3.2.6).
class DeflateBlock final {
public:
    DeflateBlock() {
        Bits(1, 1);  // the last block
        Bits(1, 2);  // fixed codes
    }

    void Literal(std::uint8_t byte) { byte < 144 ? Code(0x30U + byte, 8) : Code(0x190U + byte - 144U, 9); }

    /// 258 more of the byte before: length symbol 285, distance symbol 0.
    void LongestRun() {
        Code(0xC5, 8);
        Code(0, 5);
    }

    std::string Finish() {
        Code(0, 7);  // end of block
        Bits(0, (8 - used_) % 8);
        return std::move(out_);
    }

private:
    void Bits(std::uint32_t value, unsigned count) {
        for (unsigned bit = 0; bit < count; ++bit) {
            if (used_ == 0) out_.push_back('\0');
            if (value >> bit & 1U)
                out_.back() = static_cast<char>(static_cast<std::uint8_t>(out_.back()) | 1U << used_);
            used_ = (used_ + 1) % 8;
        }
    }
    /// Huffman codes are packed from their most significant bit on.
    void Code(std::uint32_t code, unsigned length) {
        for (unsigned bit = length; bit-- > 0;) Bits(code >> bit & 1U, 1);
    }

    std::string out_;
    unsigned used_ = 0;
};

std::uint32_t Crc32(std::string_view bytes) {
    static const auto table = [] {
        std::array<std::uint32_t, 256> made{};
        for (std::uint32_t index = 0; index < made.size(); ++index) {
            auto value = index;
            for (int bit = 0; bit < 8; ++bit) value = value & 1U ? 0xEDB88320U ^ value >> 1U : value >> 1U;
            made[index] = value;
        }
        return made;
    }();
    std::uint32_t crc = 0xFFFFFFFFU;
    for (const char byte : bytes) crc = table[(crc ^ static_cast<std::uint8_t>(byte)) & 0xFFU] ^ crc >> 8U;
    return ~crc;
}

std::string LittleEndian(std::uint32_t value) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<char>(value >> shift & 0xFFU));
    return bytes;
}

}  // namespace

std::string Gzip(std::string_view bytes) {
    constexpr std::size_t kLongestRun = 258;
    DeflateBlock block;
    for (std::size_t at = 0; at < bytes.size();) {
        block.Literal(static_cast<std::uint8_t>(bytes[at]));
        const auto run = std::min(bytes.find_first_not_of(bytes[at], at), bytes.size()) - at - 1;
        for (std::size_t copies = run / kLongestRun; copies > 0; --copies) block.LongestRun();
        at += 1 + run / kLongestRun * kLongestRun;
    }
    return std::string("\x1f\x8b\x08\0\0\0\0\0\0\xff", 10) + block.Finish() + LittleEndian(Crc32(bytes)) +
           LittleEndian(static_cast<std::uint32_t>(bytes.size()));
}

}  // namespace pellago::test
