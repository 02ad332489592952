#include "http_exchange.h"
#include "platform/values/date_time.h"
#include "platform/values/text.h"

// What an exchange has to do with the cache: whether a server is asked at all, whether its last answer still
// holds, and what is kept.
namespace pellago {
namespace {

// Some servers say for ever that nothing has changed. Half a day less than eight, so that a daily run that is
// not always on the minute asks on every eighth.
constexpr std::int64_t kTrustedFor = std::int64_t{180} * 60 * 60;  // seconds

/// "2026-11-22 10:00:00", in local time.
std::string LocalTime(std::int64_t unix_time) {
    return ColumnText(DateTime::FromSeconds(Now().Seconds() + unix_time - UnixTime()));
}

}  // namespace

/// Ends an exchange whose server has asked not to be asked before a time that has not come.
bool HttpExchange::EndIfToldToWait() {
    if (redirects_ > 0) return false;
    const auto time = cache_->NotBefore(address_);
    if (!time) return false;
    End("The server has asked not to be asked again before " + LocalTime(*time));
    return true;
}

// Only the address that the answer came from, last time, can say whether it still holds.
HttpValidators HttpExchange::Condition() {
    if (asks_unconditionally_ || !cache_->KeepsBodies()) return {};
    if (!cached_) cached_ = cache_->Find(address_);
    const bool holds = cached_ && cached_->url == url_ && cached_->IsUsable() &&
                       cached_->fetched <= UnixTime() && UnixTime() - cached_->fetched < kTrustedFor;
    return holds ? cached_->validators : HttpValidators();
}

bool HttpExchange::TakeCached() {
    if (request_.Status() != 304 || !request_.IsConditional()) return false;
    answer_.BodyFromCache(*cached_, {request_.Header("ETag"), request_.Header("Last-Modified")});
    phase_ = Phase::kEnded;
    DeliverLater();
    request_.Release();
    return true;
}

std::optional<CachedAnswer> HttpExchange::AnswerToKeep() const {
    if (request_.Status() != 200 || !cache_->KeepsBodies()) return std::nullopt;
    CachedAnswer answer{{request_.Header("ETag"), request_.Header("Last-Modified")},
                        url_,
                        request_.Header("Content-Type"),
                        UnixTime()};
    if (!answer.IsUsable() ||
        LCase(request_.HeaderList("Cache-Control")).find("no-store") != std::string::npos)
        return std::nullopt;
    return answer;
}

void HttpExchange::NoteRetryTime() {
    if (request_.Status() != 429 && request_.Status() != 503) return;
    if (const auto seconds = request_.RetryAfter(); seconds > 0) cache_->AskLater(address_, seconds);
}

void HttpExchange::Keep() {
    if (answer_.IsWholeFromWire() && !answer_.Keep() && cached_) cache_->Forget(address_);
}

}  // namespace pellago
