#include "cached_body.h"

#include <utility>

namespace pellago {

CachedBodyWriter::CachedBodyWriter(std::shared_ptr<HttpCache> cache, CachedAnswer answer)
    : cache_(std::move(cache)), answer_(std::move(answer)), packer_(cache_->Packers().Lend()) {
    packer_->Begin();
}
CachedBodyWriter::~CachedBodyWriter() { cache_->Packers().TakeBack(std::move(packer_)); }

void CachedBodyWriter::Keep(const std::string& address) {
    if (auto packed = packer_->Finish()) cache_->Keep(address, answer_, *std::move(packed));
}

CachedBodyReader::CachedBodyReader(std::shared_ptr<HttpCache> cache, Bytes packed)
    : cache_(std::move(cache)), unpacker_(cache_->Unpackers().Lend()) {
    unpacker_->Begin(std::move(packed));
}
CachedBodyReader::~CachedBodyReader() { cache_->Unpackers().TakeBack(std::move(unpacker_)); }

}  // namespace pellago
