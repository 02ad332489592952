#pragma once

#include <QTimer>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "http_exchange.h"
#include "platform/net/http_session.h"

namespace pellago {

/// Decides when the requests of a session go out: those that the run waits for, and ahead of it, in the order
/// of the run, as many others as HttpSession allows.
class RequestScheduler final : public std::enable_shared_from_this<RequestScheduler> {
public:
    explicit RequestScheduler(const HttpSession::Settings& settings);

    /// See HttpSession.
    void Expect(const std::vector<std::string>& addresses);
    void Cancel();
    /// The exchange with that address, begun or not. It is what the run waits for from now on.
    std::shared_ptr<HttpExchange> TakeOver(const std::string& address);
    void SendWhatMayBeSent();

    // For the exchanges:
    /// It has got its answer, has ended, or waits to be sent (again). Called outside libcurl.
    void ExchangeChanged(HttpExchange& exchange);
    /// A request goes out, and the network is done with it.
    void RequestGoesOut(HttpExchange& exchange);
    void RequestIsOver(HttpExchange& exchange);
    /// The answer begins: whether its connection may be used again afterwards. Called inside libcurl.
    bool MayReuseConnection(const HttpExchange& exchange);

private:
    using Clock = HttpExchange::Clock;
    /// Where an address stands in the order of the run.
    using Place = std::size_t;
    struct Expected {
        std::string address;
        std::shared_ptr<HttpExchange> exchange{};  ///< null: not begun
    };
    /// What is known of a scheme, host and port.
    struct OriginState {
        std::set<Place> held_back;                     ///< to be sent when the host has room
        bool one_at_a_time = false;                    ///< it refuses several requests at once
        std::optional<Clock::time_point> last_answer;  ///< when it began
    };

    std::shared_ptr<HttpExchange> NewExchange(const std::string& address);
    static std::string OriginOf(const Expected& expected);
    void DropFirst();
    bool MaySendAhead() const;
    bool RunIsWaiting() const;
    void SendAwaited();
    bool HasRoom(const std::string& origin) const;
    bool IsHeldUp(const HttpExchange& exchange) const;
    std::optional<Place> NextPlace();
    void GiveBack(Place place);
    void GiveBackUnread();
    void GiveBackLastOf(const std::string& origin);
    void SendOneAtATime(const std::string& origin);
    void OnWatchTimer();

    HttpSession::Settings settings_;
    std::shared_ptr<HttpCache> cache_;
    std::shared_ptr<UnreadTotal> unread_;
    std::map<Place, Expected> expected_;
    std::set<Place> next_;  ///< to be sent
    std::map<std::string, OriginState> origins_;
    std::set<HttpExchange*> running_;
    std::weak_ptr<HttpExchange> awaited_;                 ///< what the run asked for last
    std::optional<Clock::time_point> awaits_room_since_;  ///< at the host of that
    QTimer watch_;                                        ///< sees what happens by time alone
    std::size_t begun_ = 0;                               ///< how many of expected_ have an exchange
    bool is_full_ = false;  ///< from when the unread bodies were too much until they are half of that
};

}  // namespace pellago
