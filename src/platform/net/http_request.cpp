#include "http_request.h"

#include <sys/socket.h>

#include <cstdlib>
#include <utility>

#include "platform/files/program.h"

namespace pellago {
namespace {

const std::string& UserAgent() {
    static const auto text = "Pellago/" + ProgramVersionText() + " (+" + ProgramHomePage() + ")";
    return text;
}

curl_socket_t OpenSocket(void*, curlsocktype, curl_sockaddr* address) {
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

}  // namespace

HttpRequest::HttpRequest(Events events) : multi_(&CurlMulti::Instance()), events_(std::move(events)) {}

HttpRequest::~HttpRequest() {
    Cancel();
    Release();
}

bool HttpRequest::Send(const std::string& url, const HttpValidators& condition, Version version) {
    is_answered_ = false;
    began_ = last_heard_ = Clock::now();
    error_.front() = '\0';
    if (!easy_) SetLastingOptions();
    if (!easy_) return false;
    SetCondition(condition);
    Set(CURLOPT_URL, url.c_str());
    Set(CURLOPT_HTTP_VERSION,
        static_cast<long>(version == Version::kHttp11 ? CURL_HTTP_VERSION_1_1 : CURL_HTTP_VERSION_2TLS));
    Set(CURLOPT_FORBID_REUSE, 0L);
    return multi_ && multi_->Add(*this);
}

void HttpRequest::Cancel() {
    if (multi_) multi_->Remove(*this);
}

void HttpRequest::Release() {
    if (easy_) curl_easy_cleanup(std::exchange(easy_, nullptr));
}

void HttpRequest::SetLastingOptions() {
    easy_ = curl_easy_init();
    if (!easy_) return;
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
    SetCallbacks();
}

void HttpRequest::SetCallbacks() {
    Set(CURLOPT_OPENSOCKETFUNCTION, OpenSocket);
    Set(CURLOPT_PRIVATE, this);
    Set(CURLOPT_HEADERDATA, this);
    Set(
        CURLOPT_HEADERFUNCTION, +[](const char*, std::size_t, std::size_t size, void* self) {
            static_cast<HttpRequest*>(self)->NoteHeaderLine();
            return size;
        });
    Set(CURLOPT_WRITEDATA, this);
    Set(
        CURLOPT_WRITEFUNCTION, +[](const char* bytes, std::size_t, std::size_t size, void* self) {
            return static_cast<HttpRequest*>(self)->Write({bytes, size});
        });
}

void HttpRequest::SetCondition(const HttpValidators& condition) {
    condition_.reset();
    const auto add = [this](const char* name, const std::string& value) {
        if (value.empty()) return;
        auto* list = curl_slist_append(condition_.get(), (name + value).c_str());
        if (!list) return;
        static_cast<void>(condition_.release());
        condition_.reset(list);
    };
    add("If-None-Match: ", condition.etag);
    add("If-Modified-Since: ", condition.last_modified);
    Set(CURLOPT_HTTPHEADER, condition_.get());
}

void HttpRequest::NoteHeaderLine() {
    last_heard_ = Clock::now();
    if (!std::exchange(is_answered_, true)) events_.answered();
}

std::size_t HttpRequest::Write(std::string_view bytes) {
    last_heard_ = Clock::now();
    return events_.body(bytes) ? bytes.size() : 0;
}

long HttpRequest::Status() const {
    long status = 0;
    curl_easy_getinfo(easy_, CURLINFO_RESPONSE_CODE, &status);
    return status;
}

bool HttpRequest::IsRedirect() const {
    const auto status = Status();
    return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

std::string HttpRequest::RedirectTarget() const {
    const char* target = nullptr;
    curl_easy_getinfo(easy_, CURLINFO_REDIRECT_URL, &target);
    return target ? target : "";
}

std::string HttpRequest::Header(const char* name) const {
    curl_header* header = nullptr;
    if (curl_easy_header(easy_, name, 0, CURLH_HEADER, -1, &header) != CURLHE_OK) return {};
    return header->value;
}

std::string HttpRequest::HeaderList(const char* name) const {
    std::string list;
    curl_header* header = nullptr;
    for (std::size_t index = 0; curl_easy_header(easy_, name, index, CURLH_HEADER, -1, &header) == CURLHE_OK;
         ++index)
        list.append(list.empty() ? "" : ", ").append(header->value);
    return list;
}

std::int64_t HttpRequest::RetryAfter() const {
    curl_off_t seconds = 0;
    curl_easy_getinfo(easy_, CURLINFO_RETRY_AFTER, &seconds);
    return seconds;
}

std::string HttpRequest::FailureText(CURLcode result) const {
    return error_[0] != '\0' ? error_.data() : curl_easy_strerror(result);
}

}  // namespace pellago
