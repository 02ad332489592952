#include "http_answer.h"

#include <utility>

namespace pellago {

HttpAnswer::HttpAnswer(std::string address, std::shared_ptr<HttpCache> cache,
                       std::shared_ptr<UnreadTotal> unread)
    : address_(std::move(address)), cache_(std::move(cache)), unread_(std::move(unread)) {}

void HttpAnswer::Head(DocumentHead head, std::optional<CachedAnswer> to_keep) {
    head_ = std::move(head);
    body_ = FromWire{std::move(to_keep)};
}

void HttpAnswer::BodyFromCache(const CachedAnswer& cached, HttpValidators confirmed) {
    head_ = {cached.url, cached.content_type};
    body_ = FromCache{cached, std::move(confirmed)};
}

void HttpAnswer::StartOver() {
    body_ = Nothing();
    unread_.Take();
    end_.reset();
    if (!IsOver()) stage_ = Stage::kNothing;
}

HttpAnswer::TellResult HttpAnswer::Tell() {
    if (!reader_ || is_telling_) return TellResult::kDone;  // the call that is telling goes on with it
    is_telling_ = true;
    bool cache_is_good = true;
    for (bool more = true; more && cache_is_good && !IsOver();) {
        if (stage_ == Stage::kNothing && HasHead())
            TellHead();
        else if (!unread_.IsEmpty())
            TellUnread();
        else if (auto* cached = std::get_if<FromCache>(&body_))
            cache_is_good = TellCached(*cached);
        else if (end_)
            TellEnd(*end_);
        else
            more = false;
    }
    is_telling_ = false;
    return cache_is_good ? TellResult::kDone : TellResult::kCacheFailed;
}

void HttpAnswer::TellHead() {
    stage_ = Stage::kHead;
    auto* wire = std::get_if<FromWire>(&body_);
    if (wire && wire->to_keep) wire->writer = std::make_unique<CachedBodyWriter>(cache_, *wire->to_keep);
    const auto head = head_;  // inside the event the answer may begin anew
    reader_->head(head);
}

void HttpAnswer::TellUnread() {
    auto piece = unread_.Take();
    if (auto* wire = std::get_if<FromWire>(&body_); wire && wire->writer) wire->writer->Add(piece);
    reader_->body(piece);
    if (!IsOver()) unread_.Reuse(std::move(piece));
}

// What was kept may be gone, or turn out to be damaged at its very end.
bool HttpAnswer::TellCached(FromCache& body) {
    if (!body.reader && !OpenCached(body)) return false;
    if (const auto piece = body.reader->Next(); !piece.empty()) {
        reader_->body(piece);
        return true;
    }
    if (!body.reader->IsWhole()) {
        cache_->Forget(address_);
        return false;
    }
    body.reader.reset();
    TellEnd({});
    return true;
}

bool HttpAnswer::OpenCached(FromCache& body) {
    auto packed = cache_->PackedBody(address_, body.answer);
    if (!packed) return false;
    cache_->Confirm(address_, body.answer, body.confirmed);
    body.reader = std::make_unique<CachedBodyReader>(cache_, *std::move(packed));
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
    auto* wire = std::get_if<FromWire>(&body_);
    if (!wire || !wire->writer) return false;
    std::exchange(wire->writer, nullptr)->Keep(address_);
    return true;
}

}  // namespace pellago
