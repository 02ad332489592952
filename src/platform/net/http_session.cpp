#include "platform/net/http_session.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "http_ahead.h"
#include "http_url.h"
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

HttpSession::HttpSession(const Settings& settings) : ahead_(std::make_shared<Ahead>(settings)) {}
HttpSession::~HttpSession() { Cancel(); }

void HttpSession::Expect(const std::vector<std::string>& addresses) { ahead_->Expect(addresses); }
void HttpSession::Cancel() { ahead_->Clear(); }

HttpSession::Ahead::Ahead(const Settings& settings)
    : settings_(settings),
      store_(std::make_shared<HttpStore>(JoinPath(UserFolder("XDG_CACHE_HOME", ".cache"), "pellago"),
                                         settings.cache, kCacheSize)) {
    QObject::connect(&watch_, &QTimer::timeout, &watch_, [this]() noexcept { LookAround(); });
}

void HttpSession::Ahead::Expect(const std::vector<std::string>& addresses) {
    Clear();
    if (settings_.read_ahead <= 0) return;
    Place place = 0;
    for (const auto& address : addresses) {
        auto [kind, location] = ParseAddress(address);
        if (kind != DocumentAddress::Kind::kHttp) continue;
        next_.insert(next_.end(), place);
        expected_.try_emplace(expected_.end(), place++, Expected{std::move(location)});
    }
    Pump();
}

void HttpSession::Ahead::Clear() {
    next_.clear();
    held_back_.clear();
    begun_ = 0;
    // As the last step, for each exchange that goes says so.
    std::exchange(expected_, {}).clear();
}

std::shared_ptr<HttpExchange> HttpSession::Ahead::Take(const std::string& address) {
    const auto found = std::ranges::find_if(
        expected_, [&](const auto& expected) { return expected.second.address == address; });
    std::shared_ptr<HttpExchange> exchange;
    if (found != expected_.end()) {
        exchange = found->second.exchange;
        const auto place = found->first;
        while (!expected_.empty() && expected_.begin()->first <= place) DropFirst();
    }
    if (exchange && IsHeldUp(*exchange)) SendAlone(std::exchange(exchange, nullptr)->Origin());
    if (!exchange) exchange = Make(address);
    taken_ = exchange;
    taken_waits_since_.reset();
    return exchange;
}

void HttpSession::Ahead::DropFirst() {
    const auto dropped = expected_.extract(expected_.begin());
    if (dropped.mapped().exchange) --begun_;
    next_.erase(dropped.key());
    const auto held_back = held_back_.find(OriginOf(dropped.mapped()));
    if (held_back == held_back_.end()) return;
    held_back->second.erase(dropped.key());
    if (held_back->second.empty()) held_back_.erase(held_back);
}

std::shared_ptr<HttpExchange> HttpSession::Ahead::Make(const std::string& address) {
    return std::make_shared<HttpExchange>(address, store_, weak_from_this());
}

std::string HttpSession::Ahead::OriginOf(const Expected& expected) {
    return expected.exchange ? expected.exchange->Origin() : pellago::OriginOf(EncodedUrl(expected.address));
}

void HttpSession::Ahead::Pump() {
    BeginTaken();
    GiveBackUnread();
    while (MayBegin()) {
        const auto place = NextToBegin();
        if (!place) return;
        auto& exchange = expected_.at(*place).exchange;
        if (!exchange) {
            exchange = Make(expected_.at(*place).address);
            ++begun_;
        }
        exchange->Begin();
    }
}

// While the run has something to do, it is enough that as much as may be in flight is there or on its way.
// Only when it waits for a slow server more is fetched, up to what memory allows.
bool HttpSession::Ahead::MayBegin() const {
    const auto most = static_cast<std::size_t>(settings_.read_ahead);
    const auto silent = static_cast<std::size_t>(
        std::ranges::count_if(running_, [](const auto* exchange) { return IsSilent(*exchange); }));
    const auto moving = running_.size() - silent;
    if (moving >= most || silent > most) return false;
    if (is_full_ || unread + moving * kUsualBody > kMaxUnread) return false;
    return begun_ < most || IsWaitedFor();
}

bool HttpSession::Ahead::IsWaitedFor() const {
    const auto taken = taken_.lock();
    return taken && taken->IsRunning();
}

// It is this one's turn: when its host is busy with others for long, one of these makes room.
void HttpSession::Ahead::BeginTaken() {
    const auto taken = taken_.lock();
    if (!taken || !taken->IsWaiting()) return;
    const auto now = HttpExchange::Clock::now();
    if (!taken_waits_since_) taken_waits_since_ = now;
    if (!HasRoom(taken->Origin()) && now - *taken_waits_since_ > kSilence) GiveBackLastOf(taken->Origin());
    if (!HasRoom(taken->Origin())) return;
    taken_waits_since_.reset();
    taken->Begin();
}

bool HttpSession::Ahead::HasRoom(const std::string& origin) const {
    const auto running =
        static_cast<std::size_t>(std::ranges::count(running_, origin, &HttpExchange::Origin));
    return running < (one_at_a_time_.contains(origin) ? 1 : kPerHost);
}

// A server that serves one connection at a time has let it wait, and answered others meanwhile.
bool HttpSession::Ahead::IsHeldUp(const HttpExchange& exchange) const {
    const auto last_answer = last_answers_.find(exchange.Origin());
    return !exchange.HasAnswer() && exchange.TimeSpent() > settings_.time_out / 12 &&
           last_answer != last_answers_.end() && last_answer->second > exchange.RequestBegan();
}

std::optional<HttpSession::Ahead::Place> HttpSession::Ahead::NextToBegin() {
    while (!next_.empty()) {
        const auto place = *next_.begin();
        next_.erase(next_.begin());
        const auto origin = OriginOf(expected_.at(place));
        if (HasRoom(origin)) return place;
        held_back_[origin].insert(place);
    }
    return std::nullopt;
}

void HttpSession::Ahead::GiveBack(Place place) {
    expected_.at(place).exchange.reset();
    --begun_;
    next_.insert(place);
}

// The last first: they are asked for last. And not at once again, since what is under way brings as much.
void HttpSession::Ahead::GiveBackUnread() {
    if (unread <= kMaxUnread / 2) is_full_ = false;
    for (auto last = expected_.rbegin(); unread > kMaxUnread && last != expected_.rend(); ++last) {
        if (!last->second.exchange || last->second.exchange->Unread() == 0) continue;
        GiveBack(last->first);
        is_full_ = true;
    }
}

void HttpSession::Ahead::GiveBackLastOf(const std::string& origin) {
    const auto last = std::find_if(expected_.rbegin(), expected_.rend(), [&](const auto& expected) {
        const auto* exchange = expected.second.exchange.get();
        return exchange && exchange->IsRunning() && exchange->Origin() == origin;
    });
    if (last != expected_.rend()) GiveBack(last->first);
}

void HttpSession::Ahead::SendAlone(const std::string& origin) {
    one_at_a_time_.insert(origin);
    for (auto count = running_.size(); count > 0; --count) GiveBackLastOf(origin);
}

void HttpSession::Ahead::Changed(HttpExchange& exchange) {
    if (exchange.IsPutOff()) is_full_ = true;
    if (exchange.IsRefused()) {
        // Its owner's turn has come, or will: then others that the server had to do with are over too.
        if (exchange.IsAttached()) SendAlone(exchange.Origin());
        one_at_a_time_.insert(exchange.Origin());
    } else if (exchange.IsWaiting()) {
        const auto found = std::ranges::find_if(
            expected_, [&](const auto& expected) { return expected.second.exchange.get() == &exchange; });
        if (found != expected_.end()) next_.insert(found->first);
    }
    Pump();
}

void HttpSession::Ahead::Entered(HttpExchange& exchange) {
    for (auto* other : running_) {
        other->HasCompany(exchange);
        exchange.HasCompany(*other);
    }
    running_.insert(&exchange);
    if (!watch_.isActive()) watch_.start(kWatchInterval);
}

void HttpSession::Ahead::Left(HttpExchange& exchange) {
    running_.erase(&exchange);
    if (running_.empty()) watch_.stop();
    const auto held_back = held_back_.find(exchange.Origin());
    if (held_back == held_back_.end()) return;
    if (!held_back->second.empty()) next_.insert(held_back->second.extract(held_back->second.begin()));
    if (held_back->second.empty()) held_back_.erase(held_back);
}

// A server that serves one connection at a time comes to the others only when that one ends.
bool HttpSession::Ahead::Answered(const HttpExchange& exchange) {
    const bool is_last = !held_back_.contains(exchange.Origin());
    const auto now = HttpExchange::Clock::now();
    last_answers_[exchange.Origin()] = now;
    return std::ranges::none_of(running_, [&](const auto* other) {
        if (other == &exchange || other->HasAnswer() || other->Origin() != exchange.Origin()) return false;
        return is_last ||
               (other->RequestBegan() <= exchange.RequestBegan() && now - other->RequestBegan() > kSilence);
    });
}

void HttpSession::Ahead::LookAround() {
    const auto running = running_;
    for (auto* exchange : running)
        if (!exchange->IsAttached() && exchange->TimeSpent() >= settings_.time_out) exchange->GiveUp();
    Pump();
}

}  // namespace pellago
