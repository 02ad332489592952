#include "http_exchange.h"

#include <algorithm>
#include <utility>

#include "curl_url.h"
#include "request_scheduler.h"

namespace pellago {
namespace {

constexpr int kMaxRedirects = 5;

// A redirect's own body is nothing to anybody; one that does not end is not waited for.
constexpr std::size_t kMaxRedirectBody = std::size_t{1} << 20U;

}  // namespace

HttpExchange::HttpExchange(const std::string& address, std::weak_ptr<RequestScheduler> scheduler,
                           std::shared_ptr<HttpCache> cache, std::shared_ptr<UnreadTotal> unread)
    : multi_(&CurlMulti::Instance()),
      address_(EncodedUrl(address)),
      scheduler_(std::move(scheduler)),
      cache_(std::move(cache)),
      unread_(std::move(unread)),
      answer_(address_, cache_, unread_),
      request_({.answered = [this] { AnswerBegins(); },
                .body = [this](std::string_view bytes) { return Receive(bytes); },
                .completed = [this](CURLcode result) { Completed(result); }}) {
    GoTo(address_);
}
HttpExchange::~HttpExchange() { HttpExchange::Abort(); }

void HttpExchange::GoTo(const std::string& url) {
    url_ = url;
    origin_ = OriginOf(url);
}

void HttpExchange::Start(DocumentEvents events) {
    answer_.ReadBy(std::move(events));
    DeliverLater();
    multi_->DeliverSoon();
    if (const auto scheduler = scheduler_.lock()) scheduler->SendWhatMayBeSent();
}

void HttpExchange::SendNext() {
    if (address_.empty()) End("The address is not a valid URL");
    if (!IsWaiting() || EndIfToldToWait()) {
        multi_->DeliverSoon();
        return;
    }
    attempt_ = {};
    if (!request_.Send(url_, Condition(), version_)) {
        End("The transfer cannot be started");
        multi_->DeliverSoon();
        return;
    }
    phase_ = Phase::kRunning;
    if (const auto scheduler = scheduler_.lock()) scheduler->RequestGoesOut(*this);
}

void HttpExchange::NoteConcurrent(const HttpExchange& other) {
    attempt_.concurrent = std::max(
        attempt_.concurrent, other.origin_ == origin_ ? Concurrent::kSameHost : Concurrent::kOtherHosts);
}

void HttpExchange::GiveUp() {
    if (!IsRunning()) return;
    LeaveNetwork();
    request_.Release();
    phase_ = Phase::kGivenUp;
}

std::chrono::milliseconds HttpExchange::TimeSpent() const {
    using std::chrono::duration_cast;
    if (phase_ == Phase::kEnded) return {};
    const auto running = IsRunning() ? Clock::now() - request_.Began() : Clock::duration::zero();
    return duration_cast<std::chrono::milliseconds>(spent_ + running);
}

void HttpExchange::Abort() {
    answer_.Silence();
    if (IsRunning()) LeaveNetwork();
    request_.Release();
    phase_ = Phase::kEnded;
}

void HttpExchange::LeaveNetwork() {
    spent_ += Clock::now() - request_.Began();
    phase_ = Phase::kWaiting;
    request_.Cancel();
    if (const auto scheduler = scheduler_.lock()) scheduler->RequestIsOver(*this);
}

void HttpExchange::AnswerBegins() {
    if (const auto scheduler = scheduler_.lock(); scheduler && !scheduler->MayReuseConnection(*this))
        request_.CloseConnectionAfterwards();
}

bool HttpExchange::Receive(std::string_view bytes) {
    attempt_.received += bytes.size();
    if (request_.IsRedirect()) return attempt_.received <= kMaxRedirectBody;
    NoteHead();
    if (attempt_.received > kMaxDocument)
        attempt_.cut = Cut::kTooLarge;
    else if (!HasReader() && unread_->IsExceeded())  // a few bytes on the wire may unpack to all there is
        attempt_.cut = Cut::kNoRoom;
    if (attempt_.cut != Cut::kNone) return false;
    if (answer_.Unread() == 0) DeliverLater();
    answer_.Body(bytes);
    return true;
}

void HttpExchange::NoteHead() {
    if (answer_.HasHead() || request_.Status() == 0) return;
    answer_.Head({url_, request_.Header("Content-Type")}, AnswerToKeep());
    DeliverLater();
}

void HttpExchange::Completed(CURLcode result) {
    if (result == HttpRequest::kLibraryGone) return Abort();
    LeaveNetwork();
    if (RepeatInHttp11(result) || RepeatInItsTurn(result) || FollowRedirect() ||
        (result == CURLE_OK && TakeCached()))
        return;
    NoteRetryTime();
    NoteHead();
    End(FailureText(result));
    request_.Release();
}

bool HttpExchange::RepeatInHttp11(CURLcode result) {
    if (version_ == HttpRequest::Version::kHttp11 || !IsFramingError(result)) return false;
    version_ = HttpRequest::Version::kHttp11;
    StartOver();
    return true;
}

bool HttpExchange::RepeatInItsTurn(CURLcode result) {
    const bool is_refused_now = !was_refused_ && IsRefusal(result);
    if (!is_refused_now && attempt_.cut != Cut::kNoRoom) return false;
    was_refused_ = was_refused_ || is_refused_now;
    spent_ = {};
    StartOver();
    return true;
}

// Of most broken frames libcurl only says that no answer came, and not in which version.
bool HttpExchange::IsFramingError(CURLcode result) const {
    switch (result) {
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return true;
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            return !request_.IsAnswered() && origin_.starts_with("https:");
        default:
            return false;
    }
}

// Whether the request may succeed when it is sent alone. A connection may fail for requests to other names of
// the same machine; a status of 429 or 503 speaks of this host only.
bool HttpExchange::IsRefusal(CURLcode result) const {
    switch (result) {
        case CURLE_COULDNT_CONNECT:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            return attempt_.concurrent != Concurrent::kNothing;
        case CURLE_HTTP_RETURNED_ERROR:
            return attempt_.concurrent == Concurrent::kSameHost &&
                   (request_.Status() == 429 || request_.Status() == 503);
        default:
            return false;
    }
}

bool HttpExchange::FollowRedirect() {
    if (!request_.IsRedirect()) return false;
    const auto location = request_.RedirectTarget();
    if (location.empty()) return false;
    const auto target = RedirectedUrl(url_, location);
    if (target.empty() || ++redirects_ > kMaxRedirects) {
        End(target.empty() ? "The server redirects to an address that is not on the web"
                           : "The server redirects more than 5 times");
        request_.Release();
    } else {
        was_refused_ = was_refused_ && OriginOf(target) == origin_;
        GoTo(target);
        Wait();
    }
    return true;
}

std::string HttpExchange::FailureText(CURLcode result) const {
    if (attempt_.cut == Cut::kTooLarge) return kDocumentTooLarge;
    if (result != CURLE_OK) return request_.FailureText(result);
    // What is left of 300 and above are redirects that lead nowhere and answers to questions not asked.
    if (request_.Status() >= 300)
        return "The server answered with status " + std::to_string(request_.Status());
    return {};
}

void HttpExchange::StartOver() {
    answer_.StartOver();
    Wait();
}

void HttpExchange::Wait() {
    phase_ = Phase::kWaiting;
    DeliverLater();
}

void HttpExchange::End(std::string error) {
    phase_ = Phase::kEnded;
    answer_.End(std::move(error));
    DeliverLater();
}

void HttpExchange::Deliver() {
    const auto kept = shared_from_this();
    if (const auto scheduler = scheduler_.lock(); scheduler && !answer_.IsOver())
        scheduler->ExchangeChanged(*this);
    if (answer_.Tell() == HttpAnswer::TellResult::kDone) return;
    asks_unconditionally_ = true;
    StartOver();
}

}  // namespace pellago
