#include "http_answer.h"

#include <utility>

namespace pellago {

HttpAnswer::HttpAnswer(std::string address, std::shared_ptr<HttpCache> cache,
                       std::shared_ptr<UnreadTotal> unread)
    : address_(std::move(address)), cache_(std::move(cache)), unread_(std::move(unread)) {}

void HttpAnswer::Head(DocumentHead head, std::optional<CachedAnswer> to_keep) {
    head_ = std::move(head);
    to_keep_ = std::move(to_keep);
}

void HttpAnswer::BodyFromCache(const CachedAnswer& cached, HttpValidators confirmed) {
    head_ = {cached.url, cached.content_type};
    from_cache_ = {cached, std::move(confirmed)};
}

void HttpAnswer::StartOver() {
    head_.reset();
    unread_.Take();
    from_cache_.reset();
    end_.reset();
    to_keep_.reset();
    writer_.reset();
    reader_of_cached_.reset();
    if (!IsOver()) stage_ = Stage::kNothing;
}

HttpAnswer::Telling HttpAnswer::Tell() {
    if (!reader_ || is_telling_) return Telling::kDone;  // the call that is telling goes on with it
    is_telling_ = true;
    bool cache_is_good = true;
    for (bool more = true; more && cache_is_good && !IsOver();) {
        if (stage_ == Stage::kNothing && head_)
            TellHead();
        else if (!unread_.IsEmpty())
            TellUnread();
        else if (from_cache_)
            cache_is_good = TellCached();
        else if (end_)
            TellEnd(*end_);
        else
            more = false;
    }
    is_telling_ = false;
    return cache_is_good ? Telling::kDone : Telling::kCacheFailed;
}

void HttpAnswer::TellHead() {
    stage_ = Stage::kHead;
    if (to_keep_) writer_ = std::make_unique<CachedBodyWriter>(cache_, *to_keep_);
    reader_->head(*head_);
}

void HttpAnswer::TellUnread() {
    auto piece = unread_.Take();
    if (writer_) writer_->Add(piece);
    reader_->body(piece);
    if (!IsOver()) unread_.Reuse(std::move(piece));
}

// What was kept may be gone, or turn out to be damaged at its very end.
bool HttpAnswer::TellCached() {
    if (!reader_of_cached_ && !OpenCached()) return false;
    if (const auto piece = reader_of_cached_->Next(); !piece.empty()) {
        reader_->body(piece);
        return true;
    }
    if (!reader_of_cached_->IsWhole()) {
        cache_->Forget(address_);
        return false;
    }
    reader_of_cached_.reset();
    TellEnd({});
    return true;
}

bool HttpAnswer::OpenCached() {
    auto packed = cache_->PackedBody(address_, from_cache_->answer);
    if (!packed) return false;
    cache_->Confirm(address_, from_cache_->answer, from_cache_->confirmed);
    reader_of_cached_ = std::make_unique<CachedBodyReader>(cache_, *std::move(packed));
    return true;
}

void HttpAnswer::TellEnd(const std::string& error) {
    stage_ = error.empty() ? Stage::kWhole : Stage::kFailed;
    reader_->end(error);
}

void HttpAnswer::Silence() {
    if (!IsOver()) stage_ = Stage::kSilenced;
    unread_.Take();
}

bool HttpAnswer::Keep() {
    if (!writer_) return false;
    writer_->Keep(address_);
    writer_.reset();
    return true;
}

}  // namespace pellago
