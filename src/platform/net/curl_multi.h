#pragma once

#include <curl/curl.h>

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <deque>
#include <memory>
#include <set>

namespace pellago {

class HttpExchange;
class HttpRequest;

/// The process's one multi handle, driven by the message loop. No reader of a document is ever called inside
/// libcurl, which forbids being called from its own callbacks: what these report is delivered after libcurl
/// has returned.
class CurlMulti final : public QObject {
public:
    /// Made on first use, gone with the application object. Throws RunTimeError.
    static CurlMulti& Instance();

    explicit CurlMulti(QObject* application);
    ~CurlMulti() override;

    /// False when the library does not take it.
    bool Add(HttpRequest& request);
    /// Does nothing for one that is not there.
    void Remove(HttpRequest& request);

    /// Called from libcurl's callbacks, too: exchange.Deliver() follows when libcurl has returned.
    void DeliverAfterwards(std::weak_ptr<HttpExchange> exchange);
    /// For what was said outside libcurl: it is delivered from the message loop.
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
    std::set<HttpRequest*> active_;
    std::deque<std::weak_ptr<HttpExchange>> ready_;
};

}  // namespace pellago
