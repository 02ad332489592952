#include "feed_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <new>
#include <queue>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "made_feeds.h"

namespace pellago::bench {
namespace {

using Clock = std::chrono::steady_clock;

enum class Health { kHealthy, kDead, kSlow };

/// Of a host by the last part of its address.
Health HealthOf(unsigned number) {
    if (number <= FeedServer::kHealthyHosts) return Health::kHealthy;
    return number <= FeedServer::kHealthyHosts + FeedServer::kDeadHosts ? Health::kDead : Health::kSlow;
}

struct Feed {
    std::string body;
    std::string packed;
    std::string validators;  // its header lines
    std::string tag;
};

/// In the gzip format.
std::string Packed(const std::string& bytes) {
    constexpr int kGzipFormat = 15 + 16;
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipFormat, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        throw std::runtime_error("zlib cannot be used");
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

Feed MakeFeed(int seed, int items) {
    const auto tag = "\"made-" + std::to_string(seed) + '"';
    auto body = MadeFeed(seed, items);
    auto packed = Packed(body);
    return {std::move(body), std::move(packed),
            "ETag: " + tag + "\r\nLast-Modified: Tue, 10 Jun 2003 09:41:01 GMT\r\n", tag};
}

/// The value of a header of a request whose lines end in CRLF.
std::string_view Header(std::string_view request, std::string_view name) {
    for (auto end = request.find("\r\n"); end != std::string_view::npos && end + 2 < request.size();) {
        request.remove_prefix(end + 2);
        end = request.find("\r\n");
        const auto line = request.substr(0, end);
        const auto same = [](char a, char b) { return (a | 0x20) == (b | 0x20); };
        if (line.size() <= name.size() || line[name.size()] != ':' ||
            !std::equal(name.begin(), name.end(), line.begin(), same))
            continue;
        const auto value = line.substr(name.size() + 1);
        return value.substr(std::min(value.find_first_not_of(' '), value.size()));
    }
    return {};
}

std::string_view Path(std::string_view request) {
    const auto begin = request.find(' ') + 1;
    return request.substr(begin, request.find(' ', begin) - begin);
}

struct Connection {
    std::uint64_t number = 0;  // descriptors come again
    unsigned host = 0;
    std::string in;
    std::string head;
    std::string_view body;
    std::size_t sent = 0;
    bool busy = false;
};

struct DueAnswer {
    Clock::time_point time;
    int descriptor;
    std::uint64_t connection;

    bool operator>(const DueAnswer& other) const { return time > other.time; }
};

int Listen(int& port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    socklen_t size = sizeof address;
    auto* general = reinterpret_cast<sockaddr*>(&address);
    if (listener < 0 || bind(listener, general, size) != 0 || listen(listener, SOMAXCONN) != 0 ||
        getsockname(listener, general, &size) != 0)
        throw std::runtime_error("no port to listen on");
    port = ntohs(address.sin_port);
    return listener;
}

}  // namespace

struct FeedServer::Shared {
    std::atomic<std::int64_t> latency_ms;
    std::atomic<bool> honours_conditions;
    std::atomic<bool> gzip;
    std::atomic<int> connections;
    std::atomic<int> requests;
    std::atomic<int> not_modified;
    std::atomic<int> most_at_once;
    std::atomic<int> most_at_once_of_host;
    std::atomic<Clock::rep> last_healthy_answer;
};

void FeedServer::Unmap::operator()(Shared* shared) const { munmap(shared, sizeof *shared); }

/// The process that serves.
class FeedServer::Process final {
public:
    Process(int listener, Shared& shared, int feeds, int items, int many_items)
        : listener_(listener), shared_(shared), many_(MakeFeed(feeds, many_items)) {
        for (int seed = 0; seed < feeds; ++seed) feeds_.push_back(MakeFeed(seed, items));
        Watch(listener_, EPOLLIN, EPOLL_CTL_ADD);
    }

    [[noreturn]] void Serve() {
        for (std::array<epoll_event, 256> events{};;) {
            const int count = epoll_wait(epoll_, events.data(), events.size(), UntilNextAnswer());
            for (int index = 0; index < count; ++index) {
                const auto& event = events.at(static_cast<std::size_t>(index));
                if (event.data.fd == listener_)
                    AcceptAll();
                else if (!Go(event.data.fd, event.events))
                    Drop(event.data.fd);
            }
            BeginDueAnswers();
        }
    }

private:
    void Watch(int descriptor, std::uint32_t events, int how) const {
        epoll_event event{};
        event.events = events;
        event.data.fd = descriptor;
        epoll_ctl(epoll_, how, descriptor, &event);
    }

    int UntilNextAnswer() const {
        if (due_.empty()) return -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(due_.top().time - Clock::now());
        return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
    }

    void AcceptAll() {
        for (;;) {
            sockaddr_in address{};
            socklen_t size = sizeof address;
            const int descriptor = accept4(listener_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
            if (descriptor < 0) return;
            const int on = 1;
            setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
            auto& connection = connections_[descriptor];
            connection.number = ++last_connection_;
            connection.host = ntohl(address.sin_addr.s_addr) & 0xffU;
            ++shared_.connections;
            Watch(descriptor, EPOLLIN, EPOLL_CTL_ADD);
        }
    }

    /// False when the connection has ended.
    bool Go(int descriptor, std::uint32_t events) {
        auto& connection = connections_.at(descriptor);
        if ((events & EPOLLOUT) != 0U) return Send(descriptor, connection);
        std::array<char, 16384> bytes{};
        const auto count = read(descriptor, bytes.data(), bytes.size());
        if (count <= 0) return false;
        connection.in.append(bytes.data(), static_cast<std::size_t>(count));
        return connection.busy || Take(descriptor, connection);
    }

    void Drop(int descriptor) {
        const auto connection = connections_.find(descriptor);
        if (connection->second.busy) End(connection->second);
        connections_.erase(connection);
        close(descriptor);
    }

    /// Takes the next request, if it is there.
    bool Take(int descriptor, Connection& connection) {
        const auto end = connection.in.find("\r\n\r\n");
        if (end == std::string::npos) return true;
        Prepare(connection, std::string_view(connection.in).substr(0, end + 2));
        connection.in.erase(0, end + 4);
        Begin(connection);
        const auto health = HealthOf(connection.host);
        if (health == Health::kDead) return true;
        const std::chrono::milliseconds latency =
            health == Health::kSlow ? kSlowLatency : std::chrono::milliseconds(shared_.latency_ms);
        if (latency.count() == 0) return Send(descriptor, connection);
        due_.push({Clock::now() + latency, descriptor, connection.number});
        return true;
    }

    void Prepare(Connection& connection, std::string_view request) {
        const auto path = Path(request);
        const auto& feed =
            path == "/many" ? many_ : feeds_.at(std::stoul(std::string(path.substr(1))) % feeds_.size());
        connection.sent = 0;
        if (shared_.honours_conditions && Header(request, "If-None-Match") == feed.tag) {
            ++shared_.not_modified;
            connection.head = "HTTP/1.1 304 Not Modified\r\n" + feed.validators + "\r\n";
            connection.body = {};
        } else {
            connection.body = shared_.gzip ? feed.packed : feed.body;
            connection.head = "HTTP/1.1 200 OK\r\nContent-Type: application/rss+xml\r\n" + feed.validators +
                              (shared_.gzip ? "Content-Encoding: gzip\r\n" : "") +
                              "Content-Length: " + std::to_string(connection.body.size()) + "\r\n\r\n";
        }
    }

    void BeginDueAnswers() {
        for (; !due_.empty() && due_.top().time <= Clock::now(); due_.pop()) {
            const auto connection = connections_.find(due_.top().descriptor);
            if (connection == connections_.end() || connection->second.number != due_.top().connection)
                continue;
            if (!Send(connection->first, connection->second)) Drop(connection->first);
        }
    }

    bool Send(int descriptor, Connection& connection) {
        const auto in_head = std::min(connection.sent, connection.head.size());
        const auto in_body = connection.sent - in_head;
        std::array<iovec, 2> parts{};
        parts[0] = {connection.head.data() + in_head, connection.head.size() - in_head};
        parts[1] = {const_cast<char*>(connection.body.data()) + in_body, connection.body.size() - in_body};
        const auto count = writev(descriptor, parts.data(), parts.size());
        if (count < 0 && errno != EAGAIN) return false;
        connection.sent += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        const bool complete = connection.sent == connection.head.size() + connection.body.size();
        Watch(descriptor, complete ? EPOLLIN : EPOLLOUT, EPOLL_CTL_MOD);
        if (!complete) return true;
        if (HealthOf(connection.host) == Health::kHealthy)
            shared_.last_healthy_answer = Clock::now().time_since_epoch().count();
        End(connection);
        return Take(descriptor, connection);
    }

    void Begin(Connection& connection) {
        connection.busy = true;
        auto& of_host = at_once_of_host_[connection.host];
        ++shared_.requests;
        shared_.most_at_once = std::max(shared_.most_at_once.load(), ++at_once_);
        shared_.most_at_once_of_host = std::max(shared_.most_at_once_of_host.load(), ++of_host);
    }

    void End(Connection& connection) {
        connection.busy = false;
        --at_once_;
        --at_once_of_host_[connection.host];
    }

    int listener_;
    int epoll_ = epoll_create1(EPOLL_CLOEXEC);
    Shared& shared_;
    Feed many_;
    std::vector<Feed> feeds_;
    std::map<int, Connection> connections_;
    std::uint64_t last_connection_ = 0;
    std::priority_queue<DueAnswer, std::vector<DueAnswer>, std::greater<>> due_;
    int at_once_ = 0;
    std::map<unsigned, int> at_once_of_host_;
};

FeedServer::FeedServer(int feeds, int items, int many_items) {
    void* memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
    shared_.reset(new (memory) Shared{});
    Behave({});
    const int listener = Listen(port_);
    std::array<int, 2> ready{};
    if (pipe(ready.data()) != 0) throw std::runtime_error("no pipe");
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        signal(SIGPIPE, SIG_IGN);
        try {
            Process process(listener, *shared_, feeds, items, many_items);
            close(ready[1]);
            process.Serve();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "the server has ended: %s\n", error.what());
        }
        _exit(1);
    }
    close(listener);
    close(ready[1]);
    char nothing = 0;
    while (read(ready[0], &nothing, 1) > 0) continue;
    close(ready[0]);
}

FeedServer::~FeedServer() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

void FeedServer::Behave(const Behaviour& behaviour) {
    auto& s = *shared_;
    s.latency_ms = behaviour.latency.count();
    s.honours_conditions = behaviour.honours_conditions;
    s.gzip = behaviour.gzip;
    for (auto* count :
         {&s.connections, &s.requests, &s.not_modified, &s.most_at_once, &s.most_at_once_of_host})
        *count = 0;
    s.last_healthy_answer = 0;
}

ServerCounts FeedServer::Counts() const {
    const auto& s = *shared_;
    return {s.connections,          s.requests,
            s.not_modified,         s.most_at_once,
            s.most_at_once_of_host, Clock::time_point(Clock::duration(s.last_healthy_answer))};
}

std::string FeedServer::Address(int host, const std::string& path) const {
    return "http://127.0.0." + std::to_string(host + 1) + ':' + std::to_string(port_) + path;
}

}  // namespace pellago::bench
