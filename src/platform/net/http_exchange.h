#pragma once

#include <QPointer>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "curl_multi.h"
#include "http_answer.h"
#include "http_cache.h"
#include "http_request.h"
#include "platform/xml/document_source.h"

namespace pellago {

class RequestScheduler;
class UnreadTotal;

/// A GET with all its redirects and repetitions: decides what is asked for next and what an answer means.
/// When the next request goes out, RequestScheduler decides. What it does with the cache is in
/// http_revalidation.cpp.
class HttpExchange final : public DocumentSource, public std::enable_shared_from_this<HttpExchange> {
public:
    using Clock = HttpRequest::Clock;

    HttpExchange(const std::string& address, std::weak_ptr<RequestScheduler> scheduler,
                 std::shared_ptr<HttpCache> cache, std::shared_ptr<UnreadTotal> unread);
    ~HttpExchange() override;

    // For the reader of the document:
    void Start(DocumentEvents events) override;
    void Abort() override;
    std::chrono::milliseconds TimeSpent() const override;
    void Keep() override;

    // For RequestScheduler:
    /// Sends the next request, if one waits to be sent.
    void SendNext();
    /// Takes it off the network for having taken too long; it never ends, and TimeSpent() stands still.
    void GiveUp();
    /// Another request goes out or is under way while this one is.
    void NoteConcurrent(const HttpExchange& other);

    bool IsWaiting() const { return phase_ == Phase::kWaiting; }
    /// Its host has refused it beside other requests; it waits to be sent once more when the reader wants it
    /// and the host has nothing else to do.
    bool IsRefused() const { return IsWaiting() && was_refused_; }
    /// It waits to be sent once more, for what it brought found no room.
    bool HadNoRoom() const { return IsWaiting() && attempt_.cut == Cut::kNoRoom; }
    bool IsRunning() const { return phase_ == Phase::kRunning; }
    bool HasReader() const { return answer_.HasReader(); }
    /// Whether the last request has been answered with anything.
    bool HasAnswer() const { return request_.IsAnswered(); }
    Clock::time_point RequestBegan() const { return request_.Began(); }
    Clock::time_point LastHeard() const { return request_.LastHeard(); }
    /// Scheme, host and port of the present or next request.
    const std::string& Origin() const { return origin_; }
    /// Bytes that have arrived and that the reader was not told of.
    std::size_t Unread() const { return answer_.Unread(); }

    // For CurlMulti:
    /// Tells the reader and RequestScheduler what has happened.
    void Deliver();

private:
    /// kWaiting: for RequestScheduler to send the next request.
    enum class Phase { kWaiting, kRunning, kEnded, kGivenUp };
    /// What else was under way at the time of a request.
    enum class Concurrent { kNothing, kOtherHosts, kSameHost };
    /// Why a body was not taken to its end.
    enum class Cut { kNone, kTooLarge, kNoRoom };
    /// What is known of the last request and of nothing before it.
    struct Attempt {
        Concurrent concurrent = Concurrent::kNothing;
        std::size_t received = 0;  ///< bytes of the body
        Cut cut = Cut::kNone;
    };

    void GoTo(const std::string& url);
    bool EndIfToldToWait();
    HttpValidators Condition();

    void AnswerBegins();
    bool Receive(std::string_view bytes);
    void NoteHead();
    std::optional<CachedAnswer> AnswerToKeep() const;
    void NoteRetryTime();

    void Completed(CURLcode result);
    bool RepeatInHttp11(CURLcode result);
    bool RepeatInItsTurn(CURLcode result);
    bool IsFramingError(CURLcode result) const;
    bool IsRefusal(CURLcode result) const;
    bool FollowRedirect();
    bool TakeCached();
    std::string FailureText(CURLcode result) const;

    void StartOver();
    void Wait();
    void End(std::string error);
    void LeaveNetwork();
    void DeliverLater() { multi_->DeliverAfterwards(weak_from_this()); }

    QPointer<CurlMulti> multi_;
    std::string address_;  ///< encoded; empty when it is no URL
    std::weak_ptr<RequestScheduler> scheduler_;
    std::shared_ptr<HttpCache> cache_;
    std::shared_ptr<UnreadTotal> unread_;
    HttpAnswer answer_;
    HttpRequest request_;

    Phase phase_ = Phase::kWaiting;
    std::string url_;  ///< of the present request
    std::string origin_;
    int redirects_ = 0;
    HttpRequest::Version version_ = HttpRequest::Version::kNewest;
    std::optional<CachedAnswer> cached_;
    bool asks_unconditionally_ = false;  ///< what is cached cannot be used
    bool was_refused_ = false;           ///< by this origin, once
    Attempt attempt_;
    Clock::duration spent_{};  ///< on earlier requests
};

}  // namespace pellago
