#pragma once

#include <QPointer>
#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "body_packing.h"
#include "curl_multi.h"
#include "http_cache.h"
#include "platform/net/http_transfer.h"

namespace pellago {

class HttpExchange;

/// The session as its exchanges see it.
class ExchangeObserver {
public:
    virtual ~ExchangeObserver() = default;

    /// An exchange has got its answer, has ended, or waits to be begun (again). Called outside libcurl.
    virtual void Changed(HttpExchange& exchange) = 0;
    /// Before a request goes out, and when the network is done with it.
    virtual void Entered(HttpExchange& exchange) = 0;
    virtual void Left(HttpExchange& exchange) = 0;
    /// The answer begins; whether its connection may be used again. Called inside libcurl.
    virtual bool Answered(const HttpExchange& exchange) = 0;

    std::size_t unread = 0;  ///< bytes of bodies that have arrived and that no owner has been told of
};

/// A GET with all its redirects and repetitions, and what has arrived until somebody reads it. Between two
/// requests it waits to be begun again, unless it has an owner or no observer: then it goes on by itself.
class HttpExchange final : public CurlClient, public std::enable_shared_from_this<HttpExchange> {
public:
    using Clock = std::chrono::steady_clock;

    /// `store` may be null, and `observer` empty.
    HttpExchange(const std::string& address, std::shared_ptr<HttpStore> store,
                 std::weak_ptr<ExchangeObserver> observer);
    ~HttpExchange() override;
    HttpExchange(const HttpExchange&) = delete;
    HttpExchange& operator=(const HttpExchange&) = delete;

    /// Sends the next request.
    void Begin();
    /// Has what has come and what will come told, from the message loop.
    void Attach(HttpEvents events);
    /// Takes it off the network for having taken too long; it never ends, and TimeSpent() stands still.
    void GiveUp();

    void Keep();
    std::chrono::milliseconds TimeSpent() const;

    bool IsAttached() const { return attached_; }
    bool IsWaiting() const { return state_ == State::kWaiting; }
    bool IsRunning() const { return state_ == State::kRunning; }
    /// Whether the request that is under way has been answered with anything.
    bool HasAnswer() const { return answered_; }
    Clock::time_point RequestBegan() const { return request_began_; }
    Clock::time_point LastHeard() const { return last_heard_; }
    const std::string& Origin() const { return origin_; }
    std::size_t Unread() const { return arrived_.size(); }

    /// Another request is under way beside it, perhaps to the same host.
    void HasCompany(const HttpExchange& other) {
        has_company_ = true;
        shares_host_ = shares_host_ || other.origin_ == origin_;
    }
    /// Its host has refused it in company; it waits to be sent once more.
    bool IsRefused() const { return IsWaiting() && refused_; }
    /// It was taken off for what it brought when there was no room for that.
    bool IsPutOff() const { return IsWaiting() && put_off_; }

    // For CurlMulti:
    CURL* Handle() const override { return easy_; }
    void Completed(CURLcode result) override;
    void Deliver() override;
    void Abort() override;

private:
    enum class State { kWaiting, kRunning, kEnded, kGivenUp };
    struct ListDeleter {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    template <typename Value>
    void Set(CURLoption option, Value value) {
        curl_easy_setopt(easy_, option, value);
    }

    void GoTo(const std::string& url);
    void SetOptions();
    void SetLastingOptions();
    void SetCondition();
    bool IsConditional() const;
    bool IsSpared();
    std::size_t Write(const char* bytes, std::size_t size);
    void NoteAnswer();
    void NoteHead();
    void NoteRetryTime();
    /// Of the first header of that name, and of all of them as one list.
    std::string Header(const char* name) const;
    std::string HeaderList(const char* name) const;
    long Status() const;
    bool IsRedirect() const;

    bool TryAgain(CURLcode result);
    bool IsFramingError(CURLcode result) const;
    bool IsRefusal(CURLcode result) const;
    bool FollowRedirect();
    bool TakeCached();
    std::string FailureText(CURLcode result) const;

    void StartOver();
    void WaitForTurn();
    void End(std::string error);
    void MarkReady() { multi_->MarkReady(weak_from_this()); }
    bool TellNext();
    void TellArrived();
    void TellCached();
    std::string TakeUnread();
    void BeginKeeping();
    bool BeginUnpacking();
    void TellEnd(const std::string& error);
    void LeaveNetwork();
    void Release();

    QPointer<CurlMulti> multi_;
    std::string address_;  ///< encoded; empty when it is no URL
    std::shared_ptr<HttpStore> store_;
    std::weak_ptr<ExchangeObserver> observer_;
    HttpEvents events_;
    bool attached_ = false;
    State state_ = State::kWaiting;

    CURL* easy_ = nullptr;
    std::string url_;  ///< of the present request
    std::string origin_;
    std::unique_ptr<curl_slist, ListDeleter> condition_;
    int redirects_ = 0;
    bool http1_ = false;
    bool answered_ = false;
    bool has_company_ = false;
    bool shares_host_ = false;
    bool refused_ = false;
    bool put_off_ = false;
    std::optional<CachedAnswer> cached_;
    bool unconditional_ = false;
    Clock::time_point request_began_;
    Clock::time_point last_heard_;
    Clock::duration spent_{};  ///< on earlier requests

    std::array<char, CURL_ERROR_SIZE> error_{};
    HttpHead head_;
    std::optional<CachedAnswer> cacheable_;  ///< what may be kept of the answer
    bool head_known_ = false;
    bool head_told_ = false;
    std::string arrived_;  ///< decoded, not yet told
    std::size_t received_ = 0;
    bool is_cached_ = false;    ///< what is kept stands in for a body that is not sent again
    HttpValidators confirmed_;  ///< what the server said with that
    std::unique_ptr<BodyUnpacker> unpacker_;
    std::unique_ptr<BodyPacker> packer_;
    std::string end_error_;
    bool delivering_ = false;
    bool over_ = false;      ///< nothing more is told
    bool is_whole_ = false;  ///< all of the body has been told
};

}  // namespace pellago
