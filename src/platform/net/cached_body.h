#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "http_cache.h"

namespace pellago {

/// Packs a body while it is read, for the cache.
class CachedBodyWriter final {
public:
    CachedBodyWriter(std::shared_ptr<HttpCache> cache, CachedAnswer answer);
    ~CachedBodyWriter();
    CachedBodyWriter(const CachedBodyWriter&) = delete;
    CachedBodyWriter& operator=(const CachedBodyWriter&) = delete;

    void Add(std::string_view piece) { packer_->Add(piece); }
    /// After the last piece: the answer is kept, with its body.
    void Keep(const std::string& address);

private:
    std::shared_ptr<HttpCache> cache_;
    CachedAnswer answer_;
    std::unique_ptr<BodyPacker> packer_;
};

/// Unpacks a body from the cache, piece by piece.
class CachedBodyReader final {
public:
    CachedBodyReader(std::shared_ptr<HttpCache> cache, Bytes packed);
    ~CachedBodyReader();
    CachedBodyReader(const CachedBodyReader&) = delete;
    CachedBodyReader& operator=(const CachedBodyReader&) = delete;

    /// Valid until the next call; empty at the end, and where the rest is damaged.
    std::string_view Next() { return unpacker_->Next(); }
    /// After the last piece: everything was there as it was kept.
    bool IsWhole() const { return unpacker_->IsWhole(); }

private:
    std::shared_ptr<HttpCache> cache_;
    std::unique_ptr<BodyUnpacker> unpacker_;
};

}  // namespace pellago
