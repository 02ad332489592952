#include "request_scheduler.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "curl_url.h"
#include "platform/files/program.h"
#include "platform/values/addresses.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;

constexpr std::uint64_t kCacheSize = std::uint64_t{512} << 20U;  // bytes
constexpr auto kSilence = 1s;
constexpr auto kWatchInterval = 250ms;

// What a body may still bring, so that few have to be given back.
constexpr std::size_t kUsualBody = std::size_t{64} << 10U;  // bytes

bool IsSilent(const HttpExchange& exchange) {
    return HttpExchange::Clock::now() - exchange.LastHeard() > kSilence;
}

}  // namespace

RequestScheduler::RequestScheduler(const HttpSession::Settings& settings)
    : settings_(settings),
      cache_(std::make_shared<HttpCache>(JoinPath(UserFolder("XDG_CACHE_HOME", ".cache"), "pellago"),
                                         settings.cache, kCacheSize)),
      unread_(std::make_shared<UnreadTotal>(HttpSession::kMaxUnread)) {
    QObject::connect(&watch_, &QTimer::timeout, &watch_, [this]() noexcept { OnWatchTimer(); });
}

void RequestScheduler::Expect(const std::vector<std::string>& addresses) {
    Cancel();
    if (settings_.read_ahead <= 0) return;
    Place place = 0;
    for (const auto& address : addresses) {
        auto [kind, location] = ParseAddress(address);
        if (kind != DocumentAddress::Kind::kHttp) continue;
        next_.insert(next_.end(), place);
        expected_.try_emplace(expected_.end(), place++, Expected{std::move(location)});
    }
    SendWhatMayBeSent();
}

void RequestScheduler::Cancel() {
    next_.clear();
    for (auto& [origin, host] : origins_) host.held_back.clear();
    begun_ = 0;
    // As the last step, for each exchange that goes calls RequestIsOver.
    std::exchange(expected_, {}).clear();
}

std::shared_ptr<HttpExchange> RequestScheduler::TakeOver(const std::string& address) {
    const auto found = std::ranges::find_if(
        expected_, [&](const auto& expected) { return expected.second.address == address; });
    std::shared_ptr<HttpExchange> exchange;
    if (found != expected_.end()) {
        exchange = found->second.exchange;
        const auto place = found->first;
        while (!expected_.empty() && expected_.begin()->first <= place) DropFirst();
    }
    if (exchange && IsHeldUp(*exchange)) SendOneAtATime(std::exchange(exchange, nullptr)->Origin());
    if (!exchange) exchange = NewExchange(address);
    awaited_ = exchange;
    awaits_room_since_.reset();
    return exchange;
}

void RequestScheduler::DropFirst() {
    const auto dropped = expected_.extract(expected_.begin());
    if (dropped.mapped().exchange) --begun_;
    next_.erase(dropped.key());
    origins_[OriginOf(dropped.mapped())].held_back.erase(dropped.key());
}

std::shared_ptr<HttpExchange> RequestScheduler::NewExchange(const std::string& address) {
    return std::make_shared<HttpExchange>(address, weak_from_this(), cache_, unread_);
}

std::string RequestScheduler::OriginOf(const Expected& expected) {
    return expected.exchange ? expected.exchange->Origin() : pellago::OriginOf(EncodedUrl(expected.address));
}

void RequestScheduler::SendWhatMayBeSent() {
    SendAwaited();
    GiveBackUnread();
    while (MaySendAhead()) {
        const auto place = NextPlace();
        if (!place) return;
        auto& exchange = expected_.at(*place).exchange;
        if (!exchange) {
            exchange = NewExchange(expected_.at(*place).address);
            ++begun_;
        }
        exchange->SendNext();
    }
}

// While the run has something to do, it is enough that as much as may be in flight is there or on its way.
// Only when it waits for a slow server more is fetched, up to what memory allows.
bool RequestScheduler::MaySendAhead() const {
    const auto most = static_cast<std::size_t>(settings_.read_ahead);
    const auto silent = static_cast<std::size_t>(
        std::ranges::count_if(running_, [](const auto* exchange) { return IsSilent(*exchange); }));
    const auto moving = running_.size() - silent;
    if (moving >= most || silent > most) return false;
    if (is_full_ || !unread_->HasRoomFor(moving * kUsualBody)) return false;
    return begun_ < most || RunIsWaiting();
}

bool RequestScheduler::RunIsWaiting() const {
    const auto awaited = awaited_.lock();
    return awaited && awaited->IsRunning();
}

// The run waits for this feed. If its host has been busy with others for a second, the last of those is given
// back.
void RequestScheduler::SendAwaited() {
    const auto awaited = awaited_.lock();
    if (!awaited || !awaited->IsWaiting()) return;
    const auto now = Clock::now();
    if (!awaits_room_since_) awaits_room_since_ = now;
    if (!HasRoom(awaited->Origin()) && now - *awaits_room_since_ > kSilence)
        GiveBackLastOf(awaited->Origin());
    if (!HasRoom(awaited->Origin())) return;
    awaits_room_since_.reset();
    awaited->SendNext();
}

bool RequestScheduler::HasRoom(const std::string& origin) const {
    const auto running =
        static_cast<std::size_t>(std::ranges::count(running_, origin, &HttpExchange::Origin));
    const auto host = origins_.find(origin);
    const bool one_at_a_time = host != origins_.end() && host->second.one_at_a_time;
    return running < (one_at_a_time ? 1 : HttpSession::kPerHost);
}

// A server that serves one connection at a time has let this one wait, and answered others meanwhile.
bool RequestScheduler::IsHeldUp(const HttpExchange& exchange) const {
    const auto host = origins_.find(exchange.Origin());
    return !exchange.HasAnswer() && exchange.TimeSpent() > settings_.time_out / 12 &&
           host != origins_.end() && host->second.last_answer > exchange.RequestBegan();
}

std::optional<RequestScheduler::Place> RequestScheduler::NextPlace() {
    while (!next_.empty()) {
        const auto place = *next_.begin();
        next_.erase(next_.begin());
        const auto origin = OriginOf(expected_.at(place));
        if (HasRoom(origin)) return place;
        origins_[origin].held_back.insert(place);
    }
    return std::nullopt;
}

void RequestScheduler::GiveBack(Place place) {
    expected_.at(place).exchange.reset();
    --begun_;
    next_.insert(place);
}

// The last of the order first, for the run comes to them last. They are not sent again at once, since what is
// under way brings as much as was given back.
void RequestScheduler::GiveBackUnread() {
    if (unread_->IsUnderHalf()) is_full_ = false;
    for (auto last = expected_.rbegin(); unread_->IsExceeded() && last != expected_.rend(); ++last) {
        if (!last->second.exchange || last->second.exchange->Unread() == 0) continue;
        GiveBack(last->first);
        is_full_ = true;
    }
}

void RequestScheduler::GiveBackLastOf(const std::string& origin) {
    const auto last = std::find_if(expected_.rbegin(), expected_.rend(), [&](const auto& expected) {
        const auto* exchange = expected.second.exchange.get();
        return exchange && exchange->IsRunning() && exchange->Origin() == origin;
    });
    if (last != expected_.rend()) GiveBack(last->first);
}

// For a host that can only do with one request at a time: all that was sent ahead to it is given back.
void RequestScheduler::SendOneAtATime(const std::string& origin) {
    origins_[origin].one_at_a_time = true;
    for (auto count = running_.size(); count > 0; --count) GiveBackLastOf(origin);
}

void RequestScheduler::ExchangeChanged(HttpExchange& exchange) {
    if (exchange.HadNoRoom()) is_full_ = true;
    if (exchange.IsRefused()) {
        // Sent again when the run waits for it: by then others that the server had to do with are over too.
        if (exchange.HasReader()) SendOneAtATime(exchange.Origin());
        origins_[exchange.Origin()].one_at_a_time = true;
    } else if (exchange.IsWaiting()) {
        const auto found = std::ranges::find_if(
            expected_, [&](const auto& expected) { return expected.second.exchange.get() == &exchange; });
        if (found != expected_.end()) next_.insert(found->first);
    }
    SendWhatMayBeSent();
}

void RequestScheduler::RequestGoesOut(HttpExchange& exchange) {
    for (auto* other : running_) {
        other->NoteConcurrent(exchange);
        exchange.NoteConcurrent(*other);
    }
    running_.insert(&exchange);
    if (!watch_.isActive()) watch_.start(kWatchInterval);
}

void RequestScheduler::RequestIsOver(HttpExchange& exchange) {
    running_.erase(&exchange);
    if (running_.empty()) watch_.stop();
    auto& held_back = origins_[exchange.Origin()].held_back;
    if (!held_back.empty()) next_.insert(held_back.extract(held_back.begin()));
}

// A server that serves one connection at a time comes to the others only when this one is closed.
bool RequestScheduler::MayReuseConnection(const HttpExchange& exchange) {
    auto& host = origins_[exchange.Origin()];
    const bool is_last = host.held_back.empty();
    const auto now = Clock::now();
    host.last_answer = now;
    return std::ranges::none_of(running_, [&](const auto* other) {
        if (other == &exchange || other->HasAnswer() || other->Origin() != exchange.Origin()) return false;
        return is_last ||
               (other->RequestBegan() <= exchange.RequestBegan() && now - other->RequestBegan() > kSilence);
    });
}

void RequestScheduler::OnWatchTimer() {
    const auto running = running_;
    for (auto* exchange : running)
        if (!exchange->HasReader() && exchange->TimeSpent() >= settings_.time_out) exchange->GiveUp();
    SendWhatMayBeSent();
}

}  // namespace pellago
