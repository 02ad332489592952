#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace pellago::test {

/// What the server does with a request. The defaults are a well-behaved answer.
struct Reply {
    enum class Framing {
        kLength,   ///< Content-Length, connection kept alive
        kChunked,  ///< one chunk, connection kept alive
        kClose,    ///< neither: the body ends with the connection
    };

    int status = 200;
    std::vector<std::pair<std::string, std::string>> headers = {};
    std::string body = {};
    std::string etag = {};  ///< sent as ETag; a request with the same If-None-Match gets status 304
    std::string last_modified =
        {};  ///< sent as Last-Modified; without an ETag, the same for If-Modified-Since
    Framing framing = Framing::kLength;
    std::optional<std::size_t> cut_after = std::nullopt;  ///< bytes after the head, then the connection ends
    bool breaks_off = false;                              ///< the connection is reset after the last byte
    std::chrono::milliseconds delay{0};                   ///< before the first byte
    std::chrono::microseconds pause_per_byte{0};          ///< before each byte of the body
    bool stall = false;                                   ///< reads the request and never answers
};

/// Redirects to `location` with status 302.
Reply Redirect(const std::string& location);

/// An HTTP/1.1 server with threads of its own, one a connection, on 127.0.0.1 to 127.0.0.254, which clients
/// take for as many hosts; all have the same paths. Paths without an answer get status 404. Gone at once with
/// the object, whatever its clients are doing.
class HttpServer final {
public:
    enum class Connecting {
        kAll,
        kNone,              ///< nobody listens: connections are refused
        kOneOthersWait,     ///< one connection at a time; the others are not accepted before it is closed
        kOneOthersRefused,  ///< one connection at a time; the others are closed at once
    };
    struct Totals {
        std::size_t requests = 0;
        std::size_t not_modified = 0;    ///< of these, answered with 304 because of their validators
        std::size_t in_progress = 0;     ///< asked and not answered in full
        std::size_t peak = 0;            ///< the most that were in progress at a time
        std::size_t peak_of_a_host = 0;  ///< the same for the busiest host
    };

    explicit HttpServer(Connecting connecting = Connecting::kAll);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Sets or replaces the answer to a path (query included); also while clients are connected.
    void Answer(const std::string& path, const Reply& reply);

    /// The address of a path on 127.0.0.`host`.
    std::string Url(const std::string& path, int host = 1) const;

    std::size_t Requests(const std::string& path) const;
    /// Connections accepted so far.
    std::size_t Connections() const;
    /// Connections that are open now.
    std::size_t OpenConnections() const;
    /// Of all hosts and paths since the start.
    Totals Counts() const;
    /// The head of the last request for a path as it came, empty when there was none.
    std::string LastRequest(const std::string& path) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace pellago::test
