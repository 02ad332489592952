#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace pellago {

/// The transfers of one run, which ends with it: fetches ahead what will be asked for, makes requests
/// conditional and keeps whole answers for that, spares servers that have asked for it.
///
/// Ahead of their owners there are at most `read_ahead` transfers in flight and 6 to one host (scheme, name
/// and port, also after a redirect), and at most 64 MiB of bodies that have arrived. A transfer whose server
/// has been silent for a second is counted apart, so that dead servers hold nobody up; there may be as many
/// again of these. What a host refuses to several requests at once is asked for once more, alone.
class HttpSession final {
public:
    static constexpr std::size_t kPerHost = 6;
    static constexpr std::size_t kMaxUnread = std::size_t{64} << 20U;  ///< bytes

    struct Settings {
        std::int32_t read_ahead = 64;  ///< transfers; 0: each begins when it is asked for
        bool cache = true;
        /// A transfer that takes longer before anybody asks for it is given up.
        std::chrono::milliseconds time_out{60'000};
    };

    explicit HttpSession(const Settings& settings);
    /// Ends all that has been read ahead.
    ~HttpSession();
    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    /// The addresses that will be asked for, in this order, instead of those that were expected before. What
    /// is asked for out of order is fetched anew, and what was passed over is dropped.
    void Expect(const std::vector<std::string>& addresses);
    /// Ends all that has been read ahead, and expects nothing more.
    void Cancel();

private:
    friend class HttpTransfer;
    class Ahead;
    std::shared_ptr<Ahead> ahead_;
};

}  // namespace pellago
