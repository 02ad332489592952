#include "curl_multi.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QPointer>
#include <array>
#include <utility>

#include "http_exchange.h"
#include "http_request.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

[[noreturn]] void Fail(const char* description) {
    throw RunTimeError(error_number::kInternalError, "", description);
}

CURLSH* MakeShare() {
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    if (initialised != CURLE_OK) Fail("The HTTP library cannot be used");
    auto* share = curl_share_init();
    if (!share) Fail("The HTTP library cannot be used");
    // The multi handle itself shares connections and names.
    curl_share_setopt(share, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    return share;
}

int MakeEpoll() {
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    if (epoll < 0) Fail("No descriptor for network connections");
    return epoll;
}

QPointer<CurlMulti> instance;

}  // namespace

CurlMulti& CurlMulti::Instance() {
    if (auto* known = instance.data()) return *known;
    auto* application = QCoreApplication::instance();
    if (!application) throw RunTimeError(error_number::kObjectNotSet, "", "There is no message loop");
    auto* made = new CurlMulti(application);  // owned by the application
    instance = made;
    return *made;
}

CurlMulti::CurlMulti(QObject* application)
    : QObject(application),
      share_(MakeShare()),
      multi_(curl_multi_init()),
      epoll_(MakeEpoll()),
      notifier_(epoll_, QSocketNotifier::Read) {
    // With fewer idle connections than hosts in play nearly every transfer would connect anew.
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, 256L);
    curl_multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(
        multi_, CURLMOPT_SOCKETFUNCTION, +[](CURL*, curl_socket_t socket, int what, void* self, void*) {
            static_cast<CurlMulti*>(self)->WatchSocket(socket, what);
            return 0;
        });
    curl_multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    curl_multi_setopt(
        multi_, CURLMOPT_TIMERFUNCTION, +[](CURLM*, long milliseconds, void* self) {
            auto& timer = static_cast<CurlMulti*>(self)->timer_;
            milliseconds < 0 ? timer.stop() : timer.start(static_cast<int>(milliseconds));
            return 0;
        });
    // Single shots, because the loop fires no periodic timer inside its own callback.
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this]() noexcept {
        Act(CURL_SOCKET_TIMEOUT, 0);
        DeliverReady();
    });
    connect(&notifier_, &QSocketNotifier::activated, this, [this]() noexcept { HandleSockets(); });
}

CurlMulti::~CurlMulti() {
    while (!active_.empty()) {
        auto& request = **active_.begin();
        Remove(request);
        request.Completed(HttpRequest::kLibraryGone);
    }
    notifier_.setEnabled(false);
    curl_multi_cleanup(multi_);
    curl_share_cleanup(share_);
    close(epoll_);
}

bool CurlMulti::Add(HttpRequest& request) {
    curl_easy_setopt(request.Handle(), CURLOPT_SHARE, share_);
    if (curl_multi_add_handle(multi_, request.Handle()) != CURLM_OK) return false;
    active_.insert(&request);
    return true;
}

void CurlMulti::Remove(HttpRequest& request) {
    if (active_.erase(&request) > 0) curl_multi_remove_handle(multi_, request.Handle());
}

void CurlMulti::DeliverAfterwards(std::weak_ptr<HttpExchange> exchange) {
    ready_.push_back(std::move(exchange));
}

void CurlMulti::DeliverSoon() {
    QMetaObject::invokeMethod(
        this, [this]() noexcept { DeliverReady(); }, Qt::QueuedConnection);
}

void CurlMulti::WatchSocket(curl_socket_t socket, int what) {
    epoll_event event{};
    event.data.fd = socket;
    if (what == CURL_POLL_REMOVE) {
        epoll_ctl(epoll_, EPOLL_CTL_DEL, socket, &event);
        return;
    }
    if (what & CURL_POLL_IN) event.events |= EPOLLIN;
    if (what & CURL_POLL_OUT) event.events |= EPOLLOUT;
    if (epoll_ctl(epoll_, EPOLL_CTL_MOD, socket, &event) != 0)
        epoll_ctl(epoll_, EPOLL_CTL_ADD, socket, &event);
}

void CurlMulti::HandleSockets() {
    std::array<epoll_event, 32> events{};
    const int count = epoll_wait(epoll_, events.data(), static_cast<int>(events.size()), 0);
    for (int index = 0; index < count; ++index) {
        const auto& event = events[static_cast<std::size_t>(index)];
        int mask = 0;
        if (event.events & EPOLLIN) mask |= CURL_CSELECT_IN;
        if (event.events & EPOLLOUT) mask |= CURL_CSELECT_OUT;
        if (event.events & (EPOLLERR | EPOLLHUP)) mask |= CURL_CSELECT_ERR;
        Act(event.data.fd, mask);
    }
    DeliverReady();
}

void CurlMulti::Act(curl_socket_t socket, int events) {
    int running = 0;
    curl_multi_socket_action(multi_, socket, events, &running);
    CollectCompleted();
}

void CurlMulti::CollectCompleted() {
    int left = 0;
    while (const auto* message = curl_multi_info_read(multi_, &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        const auto result = message->data.result;
        char* request = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &request);
        auto& completed = *static_cast<HttpRequest*>(static_cast<void*>(request));
        Remove(completed);
        completed.Completed(result);
    }
}

void CurlMulti::DeliverReady() {
    while (!ready_.empty()) {
        const auto exchange = ready_.front().lock();
        ready_.pop_front();
        if (exchange) exchange->Deliver();
    }
}

}  // namespace pellago
