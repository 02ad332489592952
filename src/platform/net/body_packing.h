#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/values/variant.h"

struct ZSTD_CCtx_s;
struct ZSTD_DCtx_s;

namespace pellago {

/// Packs one body after the other, each as a Zstandard frame with a checksum (RFC 8878).
class BodyPacker final {
public:
    BodyPacker();
    ~BodyPacker();
    BodyPacker(const BodyPacker&) = delete;
    BodyPacker& operator=(const BodyPacker&) = delete;

    /// Begins a new body, whatever became of the last.
    void Begin();
    void Add(std::string_view bytes);
    /// The packed body; nothing when the library failed.
    std::optional<Bytes> Finish();

private:
    void Pack(std::string_view bytes, bool is_last);

    ZSTD_CCtx_s* context_;
    Bytes packed_;
    bool failed_ = false;
};

/// Unpacks what BodyPacker made, one body after the other, piece by piece.
class BodyUnpacker final {
public:
    BodyUnpacker();
    ~BodyUnpacker();
    BodyUnpacker(const BodyUnpacker&) = delete;
    BodyUnpacker& operator=(const BodyUnpacker&) = delete;

    /// Begins a new body, whatever became of the last.
    void Begin(Bytes packed);
    /// The next piece, valid until the next call; empty at the end, and where the rest is damaged.
    std::string_view Next();
    /// After the last piece: everything was there as it was packed.
    bool IsWhole() const { return whole_; }

private:
    ZSTD_DCtx_s* context_;
    Bytes packed_;
    std::size_t read_ = 0;
    std::unique_ptr<char[]> piece_;
    bool whole_ = false;
};

/// Lends a packer or an unpacker to one body after the other, for it is dear to make. Documents are read one
/// after the other, so one is kept; where it is lent already another is made.
template <class Codec>
class CodecLender final {
public:
    std::unique_ptr<Codec> Lend() { return idle_ ? std::move(idle_) : std::make_unique<Codec>(); }
    void TakeBack(std::unique_ptr<Codec> codec) { idle_ = std::move(codec); }

private:
    std::unique_ptr<Codec> idle_;
};

}  // namespace pellago
