#include "http_exchange.h"

#include <sys/socket.h>

#include <cstdlib>
#include <ctime>
#include <utility>

#include "http_url.h"
#include "platform/files/program.h"
#include "platform/values/date_time.h"

namespace pellago {
namespace {

constexpr int kMaxRedirects = 5;

// Some servers say for ever that nothing has changed. Half a day less than eight, so that a daily run that is
// not always on the minute asks on every eighth.
constexpr std::int64_t kTrustedFor = std::int64_t{180} * 60 * 60;  // seconds

std::int64_t UnixTime() { return static_cast<std::int64_t>(std::time(nullptr)); }

const std::string& UserAgent() {
    static const auto text = "Pellago/" + ProgramVersionText() + " (+" + ProgramHomePage() + ")";
    return text;
}

curl_socket_t OpenSocket(void*, curlsocktype, curl_sockaddr* address) {
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

/// "2026-11-22 10:00:00", in local time.
std::string LocalTime(std::int64_t unix_time) {
    return ColumnText(DateTime::FromSeconds(Now().Seconds() + unix_time - UnixTime()));
}

}  // namespace

HttpExchange::HttpExchange(const std::string& address, std::shared_ptr<HttpStore> store,
                           std::weak_ptr<ExchangeObserver> observer)
    : multi_(&CurlMulti::Instance()),
      address_(EncodedUrl(address)),
      store_(std::move(store)),
      observer_(std::move(observer)) {
    GoTo(address_);
}
HttpExchange::~HttpExchange() { Abort(); }

void HttpExchange::GoTo(const std::string& url) {
    url_ = url;
    origin_ = OriginOf(url);
}

void HttpExchange::Begin() {
    if (address_.empty()) End("The address is not a valid URL");
    if (state_ != State::kWaiting || IsSpared()) {
        multi_->DeliverSoon();
        return;
    }
    SetOptions();
    request_began_ = last_heard_ = Clock::now();
    answered_ = has_company_ = shares_host_ = put_off_ = false;
    if (!easy_ || !multi_->Add(*this)) {
        End("The transfer cannot be started");
        multi_->DeliverSoon();
        return;
    }
    state_ = State::kRunning;
    if (const auto observer = observer_.lock()) observer->Entered(*this);
}

void HttpExchange::SetOptions() {
    if (!easy_) SetLastingOptions();
    SetCondition();
    error_.front() = '\0';
    Set(CURLOPT_URL, url_.c_str());
    Set(CURLOPT_HTTP_VERSION, static_cast<long>(http1_ ? CURL_HTTP_VERSION_1_1 : CURL_HTTP_VERSION_2TLS));
    Set(CURLOPT_FORBID_REUSE, 0L);
}

void HttpExchange::SetLastingOptions() {
    easy_ = curl_easy_init();
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_FAILONERROR, 1L);
    Set(CURLOPT_ACCEPT_ENCODING, "");  // all that libcurl was built with
    Set(CURLOPT_USERAGENT, UserAgent().c_str());
    if (const char* trusted = std::getenv("SSL_CERT_FILE")) Set(CURLOPT_CAINFO, trusted);
    Set(CURLOPT_NOSIGNAL, 1L);
    // An abort must not wait for a name server that does not answer.
    Set(CURLOPT_QUICK_EXIT, 1L);
    Set(CURLOPT_BUFFERSIZE, 65536L);
    Set(CURLOPT_ERRORBUFFER, error_.data());
    Set(CURLOPT_OPENSOCKETFUNCTION, OpenSocket);
    Set(CURLOPT_PRIVATE, static_cast<CurlClient*>(this));
    Set(CURLOPT_HEADERDATA, this);
    Set(
        CURLOPT_HEADERFUNCTION, +[](const char*, std::size_t, std::size_t size, void* self) {
            static_cast<HttpExchange*>(self)->NoteAnswer();
            return size;
        });
    Set(CURLOPT_WRITEDATA, this);
    Set(
        CURLOPT_WRITEFUNCTION, +[](const char* bytes, std::size_t, std::size_t size, void* self) {
            return static_cast<HttpExchange*>(self)->Write(bytes, size);
        });
}

/// Ends an exchange whose server has asked not to be asked.
bool HttpExchange::IsSpared() {
    if (!store_ || redirects_ > 0) return false;
    const auto time = store_->NotBefore(address_);
    if (!time) return false;
    End("The server has asked not to be asked again before " + LocalTime(*time));
    return true;
}

bool HttpExchange::IsConditional() const { return condition_ != nullptr; }

// Only the address that the answer came from, last time, can say whether it still holds.
void HttpExchange::SetCondition() {
    condition_.reset();
    if (store_ && store_->Caches() && !cached_ && !unconditional_) cached_ = store_->Find(address_);
    if (cached_ && !unconditional_ && cached_->url == url_ && cached_->IsUsable() &&
        cached_->fetched <= UnixTime() && UnixTime() - cached_->fetched < kTrustedFor) {
        const auto add = [this](const char* name, const std::string& value) {
            if (value.empty()) return;
            auto* list = curl_slist_append(condition_.get(), (name + value).c_str());
            if (!list) return;
            static_cast<void>(condition_.release());
            condition_.reset(list);
        };
        add("If-None-Match: ", cached_->validators.etag);
        add("If-Modified-Since: ", cached_->validators.last_modified);
    }
    Set(CURLOPT_HTTPHEADER, condition_.get());
}

void HttpExchange::Attach(HttpEvents events) {
    events_ = std::move(events);
    attached_ = true;
    if (observer_.expired()) Begin();
    MarkReady();
    multi_->DeliverSoon();
}

void HttpExchange::GiveUp() {
    if (!IsRunning()) return;
    LeaveNetwork();
    Release();
    state_ = State::kGivenUp;
}

std::chrono::milliseconds HttpExchange::TimeSpent() const {
    using std::chrono::duration_cast;
    if (state_ == State::kEnded) return {};
    const auto running = IsRunning() ? Clock::now() - request_began_ : Clock::duration::zero();
    return duration_cast<std::chrono::milliseconds>(spent_ + running);
}

void HttpExchange::Abort() {
    over_ = true;
    if (IsRunning()) LeaveNetwork();
    Release();
    TakeUnread();
    state_ = State::kEnded;
}

void HttpExchange::LeaveNetwork() {
    spent_ += Clock::now() - request_began_;
    state_ = State::kWaiting;
    if (multi_) multi_->Remove(*this);
    if (const auto observer = observer_.lock()) observer->Left(*this);
}

void HttpExchange::Release() {
    if (easy_) curl_easy_cleanup(std::exchange(easy_, nullptr));
}

void HttpExchange::Completed(CURLcode result) {
    LeaveNetwork();
    if (TryAgain(result) || FollowRedirect() || (result == CURLE_OK && TakeCached())) return;
    NoteRetryTime();
    NoteHead();
    End(FailureText(result));
    Release();
}

bool HttpExchange::TryAgain(CURLcode result) {
    if (IsFramingError(result) && !std::exchange(http1_, true)) {
        StartOver();
        return true;
    }
    const bool refused_in_company = !refused_ && IsRefusal(result);
    if (!refused_in_company && !put_off_) return false;
    refused_ = refused_ || refused_in_company;
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
            return !answered_ && url_.starts_with("https:");
        default:
            return false;
    }
}

// Whether it might do alone. Servers of many names count connections; words come from the one that was asked.
bool HttpExchange::IsRefusal(CURLcode result) const {
    switch (result) {
        case CURLE_COULDNT_CONNECT:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            return has_company_;
        case CURLE_HTTP_RETURNED_ERROR:
            return shares_host_ && (Status() == 429 || Status() == 503);
        default:
            return false;
    }
}

bool HttpExchange::FollowRedirect() {
    if (!IsRedirect()) return false;
    const char* location = nullptr;
    curl_easy_getinfo(easy_, CURLINFO_REDIRECT_URL, &location);
    if (!location) return false;
    const auto target = RedirectedUrl(url_, location);
    if (target.empty() || ++redirects_ > kMaxRedirects) {
        End(target.empty() ? "The server redirects to an address that is not on the web"
                           : "The server redirects more than 5 times");
        Release();
    } else {
        refused_ = refused_ && OriginOf(target) == origin_;
        GoTo(target);
        received_ = 0;
        WaitForTurn();
    }
    return true;
}

// The body is read when somebody wants it: of many answers that wait for that, it would fill the memory.
bool HttpExchange::TakeCached() {
    if (Status() != 304 || !IsConditional()) return false;
    confirmed_ = {Header("ETag"), Header("Last-Modified")};
    is_cached_ = true;
    head_ = {200, url_, cached_->content_type};
    head_known_ = true;
    End({});
    Release();
    return true;
}

std::string HttpExchange::FailureText(CURLcode result) const {
    if (received_ > HttpTransfer::kMaxBody) return "The document is larger than 64 MiB";
    if (result != CURLE_OK) return error_[0] != '\0' ? error_.data() : curl_easy_strerror(result);
    // What is left of 300 and above are redirects that lead nowhere and answers to questions not asked.
    if (Status() >= 300) return "The server answered with status " + std::to_string(Status());
    return {};
}

void HttpExchange::StartOver() {
    TakeUnread();
    received_ = 0;
    head_known_ = head_told_ = false;
    cacheable_.reset();
    is_cached_ = false;
    packer_.reset();
    unpacker_.reset();
    WaitForTurn();
}

void HttpExchange::WaitForTurn() {
    state_ = State::kWaiting;
    if (observer_.expired())
        Begin();
    else
        MarkReady();
}

void HttpExchange::End(std::string error) {
    state_ = State::kEnded;
    end_error_ = std::move(error);
    MarkReady();
}

}  // namespace pellago
