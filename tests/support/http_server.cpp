#include "support/http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <list>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace pellago::test {
namespace {

/// The field's value as it came, nothing when the request has no such field.
std::optional<std::string> Header(const std::string& request, const std::string& name) {
    std::istringstream lines(request);
    for (std::string line; std::getline(lines, line);) {
        if (line.size() <= name.size() || line[name.size()] != ':' ||
            strncasecmp(line.c_str(), name.c_str(), name.size()) != 0)
            continue;
        if (line.ends_with('\r')) line.pop_back();
        const auto value = line.find_first_not_of(' ', name.size() + 1);
        return value == std::string::npos ? "" : line.substr(value);
    }
    return std::nullopt;
}

/// An answer as it goes over the wire.
struct Route {
    explicit Route(const Reply& reply)
        : etag(reply.etag),
          last_modified(reply.last_modified),
          closes(reply.framing == Reply::Framing::kClose || reply.cut_after || reply.breaks_off),
          breaks_off(reply.breaks_off),
          stall(reply.stall),
          delay(reply.delay),
          pause_per_byte(reply.pause_per_byte) {
        const bool chunked = reply.framing == Reply::Framing::kChunked;
        std::ostringstream lines;
        for (const auto& [name, value] : reply.headers) lines << name << ": " << value << "\r\n";
        if (!etag.empty()) lines << "ETag: " << etag << "\r\n";
        if (!last_modified.empty()) lines << "Last-Modified: " << last_modified << "\r\n";
        not_modified = "HTTP/1.1 304 Status\r\n" + lines.str() + "\r\n";
        if (reply.framing == Reply::Framing::kLength)
            lines << "Content-Length: " << reply.body.size() << "\r\n";
        if (chunked) lines << "Transfer-Encoding: chunked\r\n";
        if (closes) lines << "Connection: close\r\n";
        whole = "HTTP/1.1 " + std::to_string(reply.status) + " Status\r\n" + lines.str() + "\r\n";
        head_size = whole.size();
        std::ostringstream size;
        size << std::hex << reply.body.size();
        whole += chunked ? size.str() + "\r\n" + reply.body + "\r\n0\r\n\r\n" : reply.body;
        if (reply.cut_after) whole.resize(head_size + *reply.cut_after);
    }

    /// RFC 9110, 13.2.2: the date counts only where there is no tag.
    bool IsFresh(const std::string& request) const {
        if (const auto tag = Header(request, "If-None-Match")) return !etag.empty() && *tag == etag;
        return etag.empty() && !last_modified.empty() &&
               Header(request, "If-Modified-Since") == last_modified;
    }

    std::string etag, last_modified;
    std::string not_modified, whole;
    std::size_t head_size;
    bool closes, breaks_off, stall;
    std::chrono::milliseconds delay;
    std::chrono::microseconds pause_per_byte;
};

struct Path {
    std::shared_ptr<const Route> route;
    std::size_t requests = 0;
    std::string last_request;
};

struct Connection {
    int socket = -1;  ///< -1 once the connection is over
    in_addr_t host = 0;
    std::thread thread = {};
};

in_addr_t LocalAddress(int socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return address.sin_addr.s_addr;
}

bool SendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

int Bind(sockaddr_in& address, bool listening) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_ANY);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket, generic, size) != 0 || (listening && listen(socket, SOMAXCONN) != 0) ||
        getsockname(socket, generic, &size) != 0)
        throw std::runtime_error("the test server cannot listen");
    return socket;
}

}  // namespace

struct HttpServer::State {
    explicit State(Connecting limit)
        : connecting(limit),
          listener(Bind(address, limit != Connecting::kNone)),
          acceptor([this] { Accept(); }) {}

    ~State() {
        {
            const std::lock_guard lock(mutex);
            stopping = true;
            shutdown(listener, SHUT_RDWR);
            for (const auto& connection : connections)
                if (connection.socket >= 0) shutdown(connection.socket, SHUT_RDWR);
        }
        acceptor.join();
        for (auto& connection : connections)
            if (connection.thread.joinable()) connection.thread.join();
        close(listener);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void Accept() {
        if (connecting == Connecting::kNone) return;
        while (auto* connection = NextConnection()) {
            if (connecting == Connecting::kOneOthersWait)
                Serve(*connection);
            else
                connection->thread = std::thread([this, connection] { Serve(*connection); });
        }
    }

    /// Nothing when the server is to stop.
    Connection* NextConnection() {
        for (;;) {
            const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            const std::lock_guard lock(mutex);
            const bool refused = connecting == Connecting::kOneOthersRefused && Open() > 0;
            if (socket >= 0 && (stopping || refused)) close(socket);
            if (stopping) return nullptr;
            if (socket < 0 || refused) continue;
            const int on = 1;
            setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            return &connections.emplace_back(Connection{socket, LocalAddress(socket)});
        }
    }

    std::size_t Open() const {
        return static_cast<std::size_t>(
            std::ranges::count_if(connections, [](const auto& each) { return each.socket >= 0; }));
    }

    void Serve(Connection& connection) {
        const int socket = connection.socket;
        std::string input;
        std::array<char, 16384> buffer{};
        for (bool open = true; open;) {
            const auto end = input.find("\r\n\r\n");
            if (end != std::string::npos) {
                open = AnswerRequest(connection, input.substr(0, end));
                input.erase(0, end + 4);
                continue;
            }
            const auto got = recv(socket, buffer.data(), buffer.size(), 0);
            open = got > 0;
            if (open) input.append(buffer.data(), static_cast<std::size_t>(got));
            // What begins otherwise is no HTTP, as the hello of a client that expects TLS.
            if (open && (input.front() < 'A' || input.front() > 'Z')) open = false;
        }
        const std::lock_guard lock(mutex);
        close(socket);
        connection.socket = -1;
    }

    /// Counts a request as in progress until its last byte is sent: a client that has it may ask anew at
    /// once.
    class InProgress final {
    public:
        InProgress(State& state, in_addr_t host) : state_(state), host_(host) { Count(1); }
        ~InProgress() { End(); }
        InProgress(const InProgress&) = delete;
        InProgress& operator=(const InProgress&) = delete;

        void End() {
            if (!std::exchange(ended_, true)) Count(-1);
        }

    private:
        void Count(int step) {
            const std::lock_guard lock(state_.mutex);
            auto& totals = state_.totals;
            auto& of_host = state_.in_progress_of[host_];
            totals.in_progress += static_cast<std::size_t>(step);
            of_host += static_cast<std::size_t>(step);
            totals.peak = std::max(totals.peak, totals.in_progress);
            totals.peak_of_a_host = std::max(totals.peak_of_a_host, of_host);
        }

        State& state_;
        in_addr_t host_;
        bool ended_ = false;
    };

    /// False when the connection is to end.
    bool AnswerRequest(const Connection& connection, const std::string& request) {
        const int socket = connection.socket;
        InProgress in_progress(*this, connection.host);
        const auto [route, not_modified] = Register(request);
        if (route->stall) return Pause(socket, std::chrono::hours(24));
        if (route->delay.count() > 0 && !Pause(socket, route->delay)) return false;
        std::string_view bytes = not_modified ? route->not_modified : route->whole;
        if (!not_modified && route->pause_per_byte.count() > 0) {
            if (!SendAll(socket, bytes.substr(0, route->head_size))) return false;
            for (bytes.remove_prefix(route->head_size); bytes.size() > 1; bytes.remove_prefix(1))
                if (!Pause(socket, route->pause_per_byte) || !SendAll(socket, bytes.substr(0, 1)))
                    return false;
        }
        if (!SendAll(socket, bytes.substr(0, bytes.size() - 1))) return false;
        in_progress.End();
        const linger at_once{1, 0};
        if (route->breaks_off) setsockopt(socket, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
        return SendAll(socket, bytes.substr(bytes.size() - 1)) && (not_modified || !route->closes);
    }

    struct Answer {
        std::shared_ptr<const Route> route;
        bool not_modified;
    };
    Answer Register(const std::string& request) {
        const auto target = request.find(' ') + 1;
        const std::lock_guard lock(mutex);
        auto& path = paths[request.substr(target, request.find(' ', target) - target)];
        ++path.requests;
        ++totals.requests;
        path.last_request = request;
        if (!path.route) return {std::make_shared<const Route>(Reply{.status = 404}), false};
        const bool not_modified = path.route->IsFresh(request);
        if (not_modified) ++totals.not_modified;
        return {path.route, not_modified};
    }

    /// False when the client has gone or the server was stopped meanwhile.
    static bool Pause(int socket, std::chrono::microseconds time) {
        pollfd gone{socket, POLLRDHUP, 0};
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
        const timespec limit{seconds.count(), (time - seconds).count() * 1000};
        return ppoll(&gone, 1, &limit, nullptr) == 0;
    }

    const Connecting connecting;
    std::mutex mutex;
    bool stopping = false;
    std::map<std::string, Path> paths;
    std::list<Connection> connections;
    Totals totals;
    std::map<in_addr_t, std::size_t> in_progress_of;
    sockaddr_in address{};
    int listener;
    std::thread acceptor;
};

Reply Redirect(const std::string& location) { return {.status = 302, .headers = {{"Location", location}}}; }

HttpServer::HttpServer(Connecting connecting) : state_(std::make_unique<State>(connecting)) {}
HttpServer::~HttpServer() = default;

void HttpServer::Answer(const std::string& path, const Reply& reply) {
    auto route = std::make_shared<const Route>(reply);
    const std::lock_guard lock(state_->mutex);
    state_->paths[path].route = std::move(route);
}

std::string HttpServer::Url(const std::string& path, int host) const {
    return "http://127.0.0." + std::to_string(host) + ":" + std::to_string(ntohs(state_->address.sin_port)) +
           path;
}

std::size_t HttpServer::Requests(const std::string& path) const {
    const std::lock_guard lock(state_->mutex);
    return state_->paths[path].requests;
}

std::size_t HttpServer::Connections() const {
    const std::lock_guard lock(state_->mutex);
    return state_->connections.size();
}

std::size_t HttpServer::OpenConnections() const {
    const std::lock_guard lock(state_->mutex);
    return state_->Open();
}

HttpServer::Totals HttpServer::Counts() const {
    const std::lock_guard lock(state_->mutex);
    return state_->totals;
}

std::string HttpServer::LastRequest(const std::string& path) const {
    const std::lock_guard lock(state_->mutex);
    return state_->paths[path].last_request;
}

}  // namespace pellago::test
