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
    Framing framing = Framing::kLength;
    std::optional<std::size_t> cut_after = std::nullopt;  ///< bytes after the head, then the connection ends
    std::chrono::milliseconds delay{0};                   ///< before the first byte
    std::chrono::microseconds pause_per_byte{0};          ///< before each byte of the body
    bool stall = false;                                   ///< reads the request and never answers
};

/// Redirects to `location` with status 302.
Reply Redirect(const std::string& location);

/// An HTTP/1.1 server on 127.0.0.1 with threads of its own, one a connection. Paths without an answer get
/// status 404. Gone at once with the object, whatever its clients are doing.
class HttpServer final {
public:
    HttpServer();
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Sets or replaces the answer to a path (query included); also while clients are connected.
    void Answer(const std::string& path, const Reply& reply);

    std::string Url(const std::string& path) const;

    std::size_t Requests(const std::string& path) const;
    /// Connections accepted so far.
    std::size_t Connections() const;
    /// Connections that are open now.
    std::size_t OpenConnections() const;
    /// The head of the last request for a path as it came, empty when there was none.
    std::string LastRequest(const std::string& path) const;

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace pellago::test
