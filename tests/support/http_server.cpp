#include "support/http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <list>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace pellago::test {
namespace {

/// An answer as it goes over the wire.
struct Route {
    explicit Route(Reply answer) : reply(std::move(answer)) {
        std::string wire_head = "HTTP/1.1 " + std::to_string(reply.status) + " Status\r\n";
        for (const auto& [name, value] : reply.headers) wire_head += name + ": " + value + "\r\n";
        const auto length = reply.declared_length.value_or(reply.body.size() * reply.repeat);
        if (reply.framing == Reply::Framing::kLength)
            wire_head += "Content-Length: " + std::to_string(length) + "\r\n";
        if (reply.framing == Reply::Framing::kChunked) wire_head += "Transfer-Encoding: chunked\r\n";
        if (Closes()) wire_head += "Connection: close\r\n";
        head = wire_head + "\r\n";
        piece = reply.framing == Reply::Framing::kChunked ? Chunk(reply.body) : reply.body;
        if (reply.framing == Reply::Framing::kChunked) tail = "0\r\n\r\n";
    }

    static std::string Chunk(const std::string& bytes) {
        std::array<char, 20> size{};
        std::snprintf(size.data(), size.size(), "%zx\r\n", bytes.size());
        return bytes.empty() ? "" : size.data() + bytes + "\r\n";
    }

    bool Closes() const { return reply.framing == Reply::Framing::kClose; }

    Reply reply;
    std::string head, piece, tail;
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

std::string_view Target(std::string_view request) {
    const auto first = request.find(' ') + 1;
    return request.substr(first, request.find(' ', first) - first);
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
            ReapConnections();
            ++accepted;
            auto& connection = connections.emplace_back();
            connection.socket = socket;
            connection.thread = std::thread([this, &connection] { Serve(connection); });
        }
    }

    void ReapConnections() {
        connections.remove_if([](Connection& connection) {
            if (connection.socket >= 0) return false;
            connection.thread.join();
            return true;
        });
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
        const auto& reply = route->reply;
        if (reply.stall) return Pause(std::chrono::hours(24));
        if (reply.delay.count() > 0 && !Pause(reply.delay)) return false;
        if (!SendAll(socket, route->head)) return false;
        if (reply.pause_per_byte.count() > 0) return Trickle(socket, *route);
        std::size_t left = reply.cut_after.value_or(std::string::npos);
        const auto send_up_to_cut = [&](std::string_view bytes) {
            bytes = bytes.substr(0, left);
            if (left != std::string::npos) left -= bytes.size();
            return SendAll(socket, bytes) && left > 0;
        };
        for (std::size_t copy = 0; copy < reply.repeat; ++copy)
            if (!send_up_to_cut(route->piece)) return false;
        return send_up_to_cut(route->tail) && !reply.cut_after && !route->Closes();
    }

    std::shared_ptr<const Route> Register(const std::string& request) {
        static const auto not_found = std::make_shared<const Route>(Reply{.status = 404});
        const std::lock_guard lock(mutex);
        auto& path = paths[std::string(Target(request))];
        ++path.requests;
        ++requests;
        path.last_request = request;
        return path.route ? path.route : not_found;
    }

    bool Trickle(int socket, const Route& route) {
        for (const char byte : route.piece)
            if (!Pause(route.reply.pause_per_byte) || !SendAll(socket, {&byte, 1})) return false;
        return SendAll(socket, route.tail) && !route.Closes();
    }

    /// False when the server was stopped meanwhile.
    bool Pause(std::chrono::microseconds time) {
        std::unique_lock lock(mutex);
        return !wake.wait_for(lock, time, [this] { return stopping; });
    }

    mutable std::mutex mutex;
    std::condition_variable wake;
    bool stopping = false;
    std::map<std::string, Path> paths;
    std::list<Connection> connections;
    std::size_t accepted = 0;
    std::size_t requests = 0;
    sockaddr_in address{};
    int listener;
    std::thread acceptor;
};

Reply Redirect(const std::string& location) { return {.status = 302, .headers = {{"Location", location}}}; }

HttpServer::HttpServer() : state_(std::make_unique<State>()) {}
HttpServer::~HttpServer() = default;

void HttpServer::Answer(const std::string& path, Reply reply) {
    auto route = std::make_shared<const Route>(std::move(reply));
    const std::lock_guard lock(state_->mutex);
    state_->paths[path].route = std::move(route);
}

std::string HttpServer::Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(ntohs(state_->address.sin_port)) + path;
}

std::size_t HttpServer::Requests(const std::string& path) const {
    const std::lock_guard lock(state_->mutex);
    const auto found = state_->paths.find(path);
    return found == state_->paths.end() ? 0 : found->second.requests;
}

std::size_t HttpServer::Requests() const {
    const std::lock_guard lock(state_->mutex);
    return state_->requests;
}

std::size_t HttpServer::Connections() const {
    const std::lock_guard lock(state_->mutex);
    return state_->accepted;
}

std::size_t HttpServer::OpenConnections() const {
    const std::lock_guard lock(state_->mutex);
    std::size_t open = 0;
    for (const auto& connection : state_->connections) open += connection.socket >= 0 ? 1 : 0;
    return open;
}

std::string HttpServer::LastRequest(const std::string& path) const {
    const std::lock_guard lock(state_->mutex);
    const auto found = state_->paths.find(path);
    return found == state_->paths.end() ? "" : found->second.last_request;
}

}  // namespace pellago::test
