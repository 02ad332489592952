#pragma once

#include <curl/curl.h>

#include <QPointer>
#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "curl_multi.h"
#include "http_cache.h"

namespace pellago {

/// One GET on the wire and the head of its answer. An object is sent as often as needed, once at a time.
class HttpRequest final {
public:
    using Clock = std::chrono::steady_clock;
    enum class Version { kNewest, kHttp11 };
    /// The result of a request that is under way when libcurl's multi handle goes, with the application.
    static constexpr CURLcode kLibraryGone = CURLE_ABORTED_BY_CALLBACK;

    /// Called inside libcurl, which forbids nearly everything there.
    struct Events {
        /// Once for each request: the answer begins.
        std::function<void()> answered;
        /// A piece of the body, its content coding undone; false ends the request.
        std::function<bool(std::string_view)> body;
        /// The request is off the network, and its answer can be looked at until it is released or sent anew.
        std::function<void(CURLcode)> completed;
    };

    explicit HttpRequest(Events events);
    ~HttpRequest();
    HttpRequest(const HttpRequest&) = delete;
    HttpRequest& operator=(const HttpRequest&) = delete;

    /// Asks for `url`, which is encoded, and for a body only if that no longer has these validators
    /// (If-None-Match, If-Modified-Since); empty ones ask for it in any case. False when libcurl does not
    /// take it.
    bool Send(const std::string& url, const HttpValidators& condition, Version version);
    /// Takes it off the network, if it is there. Nothing is called.
    void Cancel();
    /// Frees what the library holds of it and of its answer.
    void Release();

    bool IsAnswered() const { return is_answered_; }
    Clock::time_point Began() const { return began_; }
    Clock::time_point LastHeard() const { return last_heard_; }
    bool IsConditional() const { return condition_ != nullptr; }

    // Of the answer:
    long Status() const;
    bool IsRedirect() const;
    /// Where a redirect leads, absolute; empty when it does not say.
    std::string RedirectTarget() const;
    /// The first header of that name, and all of them as one list (RFC 9110, 5.3).
    std::string Header(const char* name) const;
    std::string HeaderList(const char* name) const;
    /// Retry-After in seconds from now (RFC 9110, 10.2.3), 0 when it does not say.
    std::int64_t RetryAfter() const;
    /// What the library says of a failure.
    std::string FailureText(CURLcode result) const;
    /// To be said while the answer begins: its connection is not used again.
    void CloseConnectionAfterwards() { Set(CURLOPT_FORBID_REUSE, 1L); }

    // For CurlMulti:
    CURL* Handle() const { return easy_; }
    void Completed(CURLcode result) { events_.completed(result); }

private:
    struct ListDeleter {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    template <typename Value>
    void Set(CURLoption option, Value value) {
        curl_easy_setopt(easy_, option, value);
    }
    void SetLastingOptions();
    void SetCallbacks();
    void SetCondition(const HttpValidators& condition);
    void NoteHeaderLine();
    std::size_t Write(std::string_view bytes);

    QPointer<CurlMulti> multi_;
    Events events_;
    CURL* easy_ = nullptr;
    std::unique_ptr<curl_slist, ListDeleter> condition_;
    std::array<char, CURL_ERROR_SIZE> error_{};
    Clock::time_point began_;
    Clock::time_point last_heard_;
    bool is_answered_ = false;
};

}  // namespace pellago
