#pragma once

#include <curl/curl.h>

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <deque>
#include <memory>
#include <set>

namespace pellago {

/// One transfer as the multi handle sees it.
class CurlClient {
public:
    virtual ~CurlClient() = default;

    virtual CURL* Handle() const = 0;
    /// The handle has been taken out of the multi handle; called inside its work.
    virtual void Completed(CURLcode result) = 0;
    /// Tells the owner what has happened; called outside libcurl, where everything is allowed.
    virtual void Deliver() = 0;
    virtual void Abort() = 0;
};

/// The process's one multi handle, driven by the message loop. No code of an owner ever runs inside libcurl,
/// which forbids being called from its own callbacks: what they report is delivered after it has returned.
class CurlMulti final : public QObject {
public:
    /// Made on first use, gone with the application object. Throws RunTimeError.
    static CurlMulti& Instance();

    explicit CurlMulti(QObject* application);
    ~CurlMulti() override;

    /// False when the library does not take it.
    bool Add(CurlClient& client);
    void Remove(CurlClient& client);

    /// Notes that the client has something to deliver; libcurl's callbacks say it, and delivery follows when
    /// libcurl has returned.
    void MarkReady(std::weak_ptr<CurlClient> client);
    /// Has a client that was marked outside libcurl delivered from the loop.
    void DeliverSoon();

private:
    void WatchSocket(curl_socket_t socket, int what);
    void HandleSockets();
    void Act(curl_socket_t socket, int events);
    void CollectCompleted();
    void DeliverReady();

    CURLSH* share_;
    CURLM* multi_;
    // All sockets are watched through one descriptor, so that a pass of the message loop costs the same with
    // a hundred connections as with none.
    int epoll_;
    QSocketNotifier notifier_;
    QTimer timer_;
    std::set<CurlClient*> active_;
    std::deque<std::weak_ptr<CurlClient>> ready_;
};

}  // namespace pellago
