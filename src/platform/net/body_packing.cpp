#include "body_packing.h"

#include <zstd.h>

#include <utility>

namespace pellago {
namespace {

constexpr int kLevel = 1;  // feeds are packed at every fetch, and read only now and then
constexpr std::size_t kPiece = 65536;

}  // namespace

BodyPacker::BodyPacker() : context_(ZSTD_createCCtx()) {
    ZSTD_CCtx_setParameter(context_, ZSTD_c_compressionLevel, kLevel);
    ZSTD_CCtx_setParameter(context_, ZSTD_c_checksumFlag, 1);
}
BodyPacker::~BodyPacker() { ZSTD_freeCCtx(context_); }

void BodyPacker::Begin() {
    ZSTD_CCtx_reset(context_, ZSTD_reset_session_only);
    packed_.clear();
    failed_ = false;
}

void BodyPacker::Add(std::string_view bytes) { Pack(bytes, false); }

std::optional<Bytes> BodyPacker::Finish() {
    Pack({}, true);
    if (failed_) return std::nullopt;
    return std::exchange(packed_, {});
}

void BodyPacker::Pack(std::string_view bytes, bool is_last) {
    ZSTD_inBuffer input{bytes.data(), bytes.size(), 0};
    for (bool done = false; !done && !failed_;) {
        const auto before = packed_.size();
        packed_.resize(before + ZSTD_compressBound(input.size - input.pos) + 64);
        ZSTD_outBuffer output{packed_.data() + before, packed_.size() - before, 0};
        const auto left =
            ZSTD_compressStream2(context_, &output, &input, is_last ? ZSTD_e_end : ZSTD_e_continue);
        packed_.resize(before + output.pos);
        failed_ = ZSTD_isError(left) != 0;
        done = is_last ? left == 0 : input.pos == input.size;
    }
}

BodyUnpacker::BodyUnpacker() : context_(ZSTD_createDCtx()), piece_(std::make_unique<char[]>(kPiece)) {}
BodyUnpacker::~BodyUnpacker() { ZSTD_freeDCtx(context_); }

void BodyUnpacker::Begin(Bytes packed) {
    ZSTD_DCtx_reset(context_, ZSTD_reset_session_only);
    packed_ = std::move(packed);
    read_ = 0;
    whole_ = false;
}

std::string_view BodyUnpacker::Next() {
    if (whole_) return {};
    ZSTD_inBuffer input{packed_.data(), packed_.size(), read_};
    ZSTD_outBuffer output{piece_.get(), kPiece, 0};
    const auto left = ZSTD_decompressStream(context_, &output, &input);
    read_ = input.pos;
    if (ZSTD_isError(left)) return {};
    whole_ = left == 0 && read_ == packed_.size();
    return {piece_.get(), output.pos};
}

}  // namespace pellago
