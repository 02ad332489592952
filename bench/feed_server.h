#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <string>

namespace pellago::bench {

/// How a FeedServer behaves.
struct Behaviour {
    std::chrono::milliseconds latency{0};  ///< from a request to the first byte of its answer
    bool honours_conditions = true;        ///< false answers 200 with the body to every request
    bool gzip = false;                     ///< bodies are packed, as most servers send them
};

/// What a FeedServer has seen since Behave.
struct ServerCounts {
    int connections = 0;
    int requests = 0;
    int not_modified = 0;
    int most_at_once = 0;          ///< requests whose answer was not complete
    int most_at_once_of_host = 0;  ///< the same, of one host
    /// When the last answer of a healthy host was complete.
    std::chrono::steady_clock::time_point last_healthy_answer;
};

/// An HTTP/1.1 server in a process of its own, so that its time does not count: one thread, connections that
/// are kept, feeds that are made beforehand. Its hosts are the addresses of the loopback network: 127.0.0.1
/// to .100 are healthy, .101 to .120 dead (they accept and never answer), .121 to .140 slow (20 s to the
/// first byte). "/0", "/1", … are feeds, the same again from "/<feeds>" on; "/many" is one with many items.
class FeedServer final {
public:
    static constexpr int kHealthyHosts = 100;
    static constexpr int kDeadHosts = 20;
    static constexpr int kSlowHosts = 20;
    static constexpr std::chrono::seconds kSlowLatency{20};

    FeedServer(int feeds, int items, int many_items);
    ~FeedServer();
    FeedServer(const FeedServer&) = delete;
    FeedServer& operator=(const FeedServer&) = delete;

    /// From the next request on; the counts begin anew.
    void Behave(const Behaviour& behaviour);
    ServerCounts Counts() const;

    /// Hosts count from 0: the healthy ones first, then the dead, then the slow.
    std::string Address(int host, const std::string& path) const;

private:
    struct Shared;
    struct Unmap {
        void operator()(Shared* shared) const;
    };
    class Process;

    std::unique_ptr<Shared, Unmap> shared_;
    int port_ = 0;
    pid_t process_ = 0;
};

}  // namespace pellago::bench
