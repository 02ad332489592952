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

/// What a session has read ahead and is going to. The places of addresses in the order of the run are the
/// keys.
class HttpSession::Ahead final : public ExchangeObserver, public std::enable_shared_from_this<Ahead> {
public:
    explicit Ahead(const Settings& settings);

    void Expect(const std::vector<std::string>& addresses);
    void Clear();
    /// The exchange with that address, begun or not.
    std::shared_ptr<HttpExchange> Take(const std::string& address);
    /// Begins what may be begun now.
    void Pump();

    void Changed(HttpExchange& exchange) override;
    void Entered(HttpExchange& exchange) override;
    void Left(HttpExchange& exchange) override;
    bool Answered(const HttpExchange& exchange) override;

private:
    using Place = std::size_t;
    struct Expected {
        std::string address;
        std::shared_ptr<HttpExchange> exchange{};  ///< null: not begun
    };

    std::shared_ptr<HttpExchange> Make(const std::string& address);
    static std::string OriginOf(const Expected& expected);
    void DropFirst();
    bool MayBegin() const;
    bool IsWaitedFor() const;
    void BeginTaken();
    bool HasRoom(const std::string& origin) const;
    bool IsHeldUp(const HttpExchange& exchange) const;
    std::optional<Place> NextToBegin();
    void GiveBack(Place place);
    void GiveBackUnread();
    void GiveBackLastOf(const std::string& origin);
    void SendAlone(const std::string& origin);
    void LookAround();

    Settings settings_;
    std::shared_ptr<HttpStore> store_;
    std::map<Place, Expected> expected_;
    std::set<Place> next_;                              ///< to be begun
    std::map<std::string, std::set<Place>> held_back_;  ///< by origin: to be begun when the host has room
    std::set<HttpExchange*> running_;
    std::set<std::string> one_at_a_time_;  ///< origins that refuse several requests at once
    std::map<std::string, HttpExchange::Clock::time_point> last_answers_;  ///< by origin: when they began
    std::weak_ptr<HttpExchange> taken_;                                    ///< the last
    std::optional<HttpExchange::Clock::time_point> taken_waits_since_;     ///< for room at its host
    QTimer watch_;           ///< sees what happens by time alone
    std::size_t begun_ = 0;  ///< of what is expected
    bool is_full_ = false;   ///< something was given back, and little has been read since
};

}  // namespace pellago
