#include "support/http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace pellago::test {
namespace {

/// An answer as it goes over the wire.
struct Route {
    explicit Route(const Reply& reply)
        : closes(reply.framing == Reply::Framing::kClose || reply.cut_after),
          stall(reply.stall),
          delay(reply.delay),
          pause_per_byte(reply.pause_per_byte) {
        const bool chunked = reply.framing == Reply::Framing::kChunked;
        std::ostringstream lines;
        lines << "HTTP/1.1 " << reply.status << " Status\r\n";
        for (const auto& [name, value] : reply.headers) lines << name << ": " << value << "\r\n";
        if (reply.framing == Reply::Framing::kLength)
            lines << "Content-Length: " << reply.body.size() << "\r\n";
        if (chunked) lines << "Transfer-Encoding: chunked\r\n";
        if (closes) lines << "Connection: close\r\n";
        head = lines.str() + "\r\n";
        std::ostringstream size;
        size << std::hex << reply.body.size();
        body = chunked ? size.str() + "\r\n" + reply.body + "\r\n0\r\n\r\n" : reply.body;
        body.resize(reply.cut_after.value_or(body.size()));
    }

    std::string head, body;
    bool closes, stall;
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
    std::thread thread;
};

bool SendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

int Listen(sockaddr_in& address) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket, generic, size) != 0 || listen(socket, SOMAXCONN) != 0 ||
        getsockname(socket, generic, &size) != 0)
        throw std::runtime_error("the test server cannot listen");
    return socket;
}

}  // namespace

struct HttpServer::State {
    State() : listener(Listen(address)), acceptor([this] { Accept(); }) {}

    ~State() {
        {
            const std::lock_guard lock(mutex);
            stopping = true;
            shutdown(listener, SHUT_RDWR);
            for (const auto& connection : connections)
                if (connection.socket >= 0) shutdown(connection.socket, SHUT_RDWR);
        }
        wake.notify_all();
        acceptor.join();
        for (auto& connection : connections) connection.thread.join();
        close(listener);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void Accept() {
        for (;;) {
            const int socket = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            const std::lock_guard lock(mutex);
            if (stopping) {
                if (socket >= 0) close(socket);
                return;
            }
            if (socket < 0) continue;
            const int on = 1;
            setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            auto& connection = connections.emplace_back();
            connection.socket = socket;
            connection.thread = std::thread([this, &connection] { Serve(connection); });
        }
    }

    void Serve(Connection& connection) {
        const int socket = connection.socket;
        std::string input;
        std::array<char, 16384> buffer{};
        for (bool open = true; open;) {
            const auto end = input.find("\r\n\r\n");
            if (end != std::string::npos) {
                open = AnswerRequest(socket, input.substr(0, end));
                input.erase(0, end + 4);
                continue;
            }
            const auto got = recv(socket, buffer.data(), buffer.size(), 0);
            open = got > 0;
            if (open) input.append(buffer.data(), static_cast<std::size_t>(got));
        }
        const std::lock_guard lock(mutex);
        close(socket);
        connection.socket = -1;
    }

    /// False when the connection is to end.
    bool AnswerRequest(int socket, const std::string& request) {
        const auto route = Register(request);
        if (route->stall) return Pause(std::chrono::hours(24));
        if (route->delay.count() > 0 && !Pause(route->delay)) return false;
        if (!SendAll(socket, route->head)) return false;
        if (route->pause_per_byte.count() == 0) return SendAll(socket, route->body) && !route->closes;
        for (const char byte : route->body)
            if (!Pause(route->pause_per_byte) || !SendAll(socket, {&byte, 1})) return false;
        return !route->closes;
    }

    std::shared_ptr<const Route> Register(const std::string& request) {
        const auto target = request.find(' ') + 1;
        const std::lock_guard lock(mutex);
        auto& path = paths[request.substr(target, request.find(' ', target) - target)];
        ++path.requests;
        path.last_request = request;
        return path.route ? path.route : std::make_shared<const Route>(Reply{.status = 404});
    }

    /// False when the server was stopped meanwhile.
    bool Pause(std::chrono::microseconds time) {
        std::unique_lock lock(mutex);
        return !wake.wait_for(lock, time, [this] { return stopping; });
    }

    std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false;
    std::map<std::string, Path> paths;
    std::list<Connection> connections;
    sockaddr_in address{};
    int listener;
    std::thread acceptor;
};

Reply Redirect(const std::string& location) { return {.status = 302, .headers = {{"Location", location}}}; }

HttpServer::HttpServer() : state_(std::make_unique<State>()) {}
HttpServer::~HttpServer() = default;

void HttpServer::Answer(const std::string& path, const Reply& reply) {
    auto route = std::make_shared<const Route>(reply);
    const std::lock_guard lock(state_->mutex);
    state_->paths[path].route = std::move(route);
}

std::string HttpServer::Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(ntohs(state_->address.sin_port)) + path;
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
    return static_cast<std::size_t>(
        std::ranges::count_if(state_->connections, [](const auto& each) { return each.socket >= 0; }));
}

std::string HttpServer::LastRequest(const std::string& path) const {
    const std::lock_guard lock(state_->mutex);
    return state_->paths[path].last_request;
}

}  // namespace pellago::test
