#include <algorithm>
#include <ctime>
#include <utility>

#include "http_exchange.h"
#include "platform/net/http_session.h"
#include "platform/values/text.h"

// What an exchange makes of what arrives, and tells of it.
namespace pellago {
namespace {

// A redirect's own body is nothing to anybody; one that does not end is not waited for.
constexpr std::size_t kMaxRedirectBody = std::size_t{1} << 20U;

}  // namespace

long HttpExchange::Status() const {
    long status = 0;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

bool HttpExchange::IsRedirect() const {
    const auto status = Status();
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

std::string HttpExchange::Header(const char* name) const {
    curl_header* header = nullptr;
    if (curl_easy_header(easy_, name, 0, CURLH_HEADER, -1, &header) != CURLHE_OK) return {};
    return header->value;
}

// RFC 9110, 5.3.
std::string HttpExchange::HeaderList(const char* name) const {
    std::string list;
    curl_header* header = nullptr;
    for (std::size_t index = 0; curl_easy_header(easy_, name, index, CURLH_HEADER, -1, &header) == CURLHE_OK;
         ++index)
        list.append(list.empty() ? "" : ", ").append(header->value);
    return list;
}

void HttpExchange::NoteAnswer() {
    last_heard_ = Clock::now();
    if (std::exchange(answered_, true)) return;
    const auto observer = observer_.lock();
    if (!observer) return;
    if (!observer->Answered(*this)) Set(CURLOPT_FORBID_REUSE, 1L);
}

std::size_t HttpExchange::Write(const char* bytes, std::size_t size) {
    last_heard_ = Clock::now();
    received_ += size;
    if (IsRedirect()) return received_ > kMaxRedirectBody ? 0 : size;
    NoteHead();
    if (received_ > HttpTransfer::kMaxBody) return 0;
    const auto observer = observer_.lock();
    // A few bytes on the wire may unpack to all that there is room for.
    put_off_ = !attached_ && observer && observer->unread > HttpSession::kMaxUnread;
    if (put_off_) return 0;
    if (arrived_.empty()) MarkReady();
    arrived_.append(bytes, size);
    if (observer) observer->unread += size;
    return size;
}

void HttpExchange::NoteHead() {
    if (head_known_) return;
    const auto status = Status();
    if (status == 0) return;
    head_ = {static_cast<int>(status), url_, Header("Content-Type")};
    head_known_ = true;
    MarkReady();
    if (status != 200 || !store_ || !store_->Caches()) return;
    CachedAnswer answer{{Header("ETag"), Header("Last-Modified")},
                        url_,
                        head_.content_type,
                        static_cast<std::int64_t>(std::time(nullptr))};
    if (answer.IsUsable() && LCase(HeaderList("Cache-Control")).find("no-store") == std::string::npos)
        cacheable_ = std::move(answer);
}

void HttpExchange::NoteRetryTime() {
    if (!store_ || (Status() != 429 && Status() != 503)) return;
    curl_off_t seconds = 0;
    curl_easy_getinfo(easy_, CURLINFO_RETRY_AFTER, &seconds);
    if (seconds > 0) store_->AskLater(address_, seconds);
}

void HttpExchange::Deliver() {
    const auto kept = shared_from_this();
    if (const auto observer = observer_.lock(); observer && !over_) observer->Changed(*this);
    if (!attached_ || delivering_) return;  // a call that is delivering goes on with it
    delivering_ = true;
    while (!over_ && TellNext()) {
    }
    delivering_ = false;
}

bool HttpExchange::TellNext() {
    if (head_known_ && !std::exchange(head_told_, true)) {
        if (cacheable_) BeginKeeping();
        events_.head(head_);
    } else if (!arrived_.empty()) {
        TellArrived();
    } else if (is_cached_) {
        TellCached();
    } else if (state_ == State::kEnded) {
        TellEnd(end_error_);
    } else {
        return false;
    }
    return true;
}

void HttpExchange::TellArrived() {
    auto piece = TakeUnread();
    if (packer_) packer_->Add(piece);
    events_.body(piece);
    piece.clear();
    if (arrived_.empty() && !over_) arrived_ = std::move(piece);  // keeps its memory
}

// What was kept may be gone, or turn out to be damaged at its very end: then the whole is fetched.
void HttpExchange::TellCached() {
    if (!unpacker_ && !BeginUnpacking()) {
        unconditional_ = true;
        StartOver();
    } else if (const auto piece = unpacker_->Next(); !piece.empty()) {
        events_.body(piece);
    } else if (unpacker_->IsWhole()) {
        store_->idle_unpacker = std::move(unpacker_);
        TellEnd({});
    } else {
        store_->Forget(address_);
        unconditional_ = true;
        StartOver();
    }
}

void HttpExchange::TellEnd(const std::string& error) {
    over_ = true;
    is_whole_ = error.empty();
    events_.end(error);
}

std::string HttpExchange::TakeUnread() {
    if (const auto observer = observer_.lock()) observer->unread -= arrived_.size();
    return std::exchange(arrived_, {});
}

bool HttpExchange::BeginUnpacking() {
    auto packed = store_->PackedBody(address_, *cached_);
    if (!packed) return false;
    store_->Confirm(address_, *cached_, confirmed_);
    unpacker_ = std::exchange(store_->idle_unpacker, nullptr);
    if (!unpacker_) unpacker_ = std::make_unique<BodyUnpacker>();
    unpacker_->Begin(*std::move(packed));
    return true;
}

void HttpExchange::BeginKeeping() {
    packer_ = std::exchange(store_->idle_packer, nullptr);
    if (!packer_) packer_ = std::make_unique<BodyPacker>();
    packer_->Begin();
}

void HttpExchange::Keep() {
    if (!store_ || !store_->Caches() || !is_whole_ || is_cached_) return;
    if (packer_) {
        if (const auto packed = packer_->Finish()) store_->Keep(address_, *cacheable_, *packed);
        store_->idle_packer = std::move(packer_);
    } else if (cached_) {
        store_->Forget(address_);
    }
}

}  // namespace pellago
