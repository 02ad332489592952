#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace pellago {

class DocumentSource;
class RequestScheduler;

/// Carries the transfers of one run, and is destroyed with it: fetches ahead what will be asked for, makes
/// requests conditional and keeps whole answers for that, asks no server before the time that its Retry-After
/// has named.
///
/// Ahead of the run there are at most `read_ahead` transfers in flight and 6 to one host (scheme, name and
/// port, also after a redirect), and at most 64 MiB of bodies that have arrived. A transfer whose server has
/// been silent for a second is counted apart, so that dead servers hold nobody up; there may be as many again
/// of these. What a host refuses to several requests at once is asked for once more, alone.
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
    /// Ends all that has been read ahead. Documents that are still being loaded must be gone before.
    ~HttpSession();
    HttpSession(const HttpSession&) = delete;
    HttpSession& operator=(const HttpSession&) = delete;

    /// The addresses that will be opened, in this order, instead of those that were expected before. What is
    /// opened out of order is fetched anew, and what was passed over is dropped.
    void Expect(const std::vector<std::string>& addresses);

    /// A GET of an http or https address, carried by the message loop: what was read ahead of it is taken
    /// over. Connections, host names and TLS sessions are shared by all transfers of the process. At most 5
    /// redirects, to http and https only; certificates are checked (SSL_CERT_FILE may name those to trust);
    /// no cookies. HTTP/2 where the server speaks it, and after an error in its framing once more on
    /// HTTP/1.1. A status of 300 or above in the end, a body that ends before its declared length and one of
    /// more than kMaxDocument bytes are failures. A compressed body that is whole as sent but ends inside its
    /// coding is not noticed here: the reader sees that the document in it is not complete. There is no
    /// time-out but the reader's own. Throws RunTimeError when there is no message loop or the system has no
    /// descriptors left.
    std::shared_ptr<DocumentSource> Open(const std::string& url);

    /// Ends all that has been read ahead, and expects nothing more.
    void Cancel();

private:
    std::shared_ptr<RequestScheduler>
        scheduler_;  ///< does the work; out of sight, for it is full of Qt and libcurl
};

}  // namespace pellago
