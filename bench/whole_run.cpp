// A whole run over channels of 30 items from a server on loopback, beside a bare program that does the same
// fetching, parsing and storing. Every measured piece is a process of its own; the server's time does not
// count.

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include "bare_run.h"
#include "engine_run.h"
#include "infra/process_objects.h"
#include "made_feeds.h"
#include "platform/message_loop.h"
#include "support/http_server.h"

namespace pellago::bench {
namespace {

constexpr int kFeeds = 1000;
constexpr int kItems = 30;
constexpr int kRounds = 5;

struct Cost {
    double processor_seconds;
    double wall_seconds;
    double peak_mib;
};

/// Runs `work` in a process of its own.
Cost Measured(const std::function<void()>& work) {
    std::fflush(stdout);
    const auto start = std::chrono::steady_clock::now();
    const auto child = fork();
    if (child == 0) {
        try {
            const MessageLoop loop;
            CreateProcessObjects();
            work();
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            _exit(1);
        }
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (status != 0) throw std::runtime_error("a measured piece failed");
    const auto seconds = [](timeval time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    return {seconds(usage.ru_utime) + seconds(usage.ru_stime), wall.count(),
            static_cast<double>(usage.ru_maxrss) / 1024};
}

void Print(const char* what, const Cost& cost) {
    std::printf("%-44s %8.3f s processor %8.3f s wall %7.1f MiB peak\n", what, cost.processor_seconds,
                cost.wall_seconds, cost.peak_mib);
}

/// The server, in a process of its own.
class Server final {
public:
    Server() {
        std::array<int, 2> ends{};
        if (pipe(ends.data()) != 0) throw std::runtime_error("no pipe");
        process_ = fork();
        if (process_ == 0) {
            test::HttpServer server;
            for (int i = 0; i < kFeeds; ++i)
                server.Answer("/" + std::to_string(i), {.body = MadeFeed(i, kItems)});
            const auto url = server.Url("/") + '\n';
            if (write(ends[1], url.data(), url.size()) < 0) _exit(1);
            for (;;) pause();
        }
        close(ends[1]);
        for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';) url_ += c;
        close(ends[0]);
    }
    ~Server() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::vector<std::string> Addresses(int count) const {
        std::vector<std::string> addresses;
        for (int i = 0; i < count; ++i) addresses.push_back(url_ + std::to_string(i % kFeeds));
        return addresses;
    }

private:
    pid_t process_ = 0;
    std::string url_;
};

class Bench final {
public:
    Bench() {
        auto pattern = (std::filesystem::temp_directory_path() / "pellago-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
        folder_ = pattern;
        setenv("PELLAGO_HOME", folder_.c_str(), 1);
        setenv("XDG_CONFIG_HOME", folder_.c_str(), 1);
    }
    ~Bench() { std::filesystem::remove_all(folder_); }
    Bench(const Bench&) = delete;
    Bench& operator=(const Bench&) = delete;

    Cost Engine(int channels, Cost* again = nullptr) {
        const auto path = Fresh(channels);
        const auto run = [&] {
            EngineRun engine(path);
            engine.All();
            if (engine.Stored() != channels * kItems) throw std::runtime_error("not all items were stored");
        };
        const auto cost = Measured(run);
        if (again) *again = Measured(run);
        return cost;
    }
    Cost Bare(int channels) {
        const auto path = Fresh(channels);
        const auto addresses = server_.Addresses(channels);
        return Measured([&] {
            if (BareRun(path, addresses) != channels * kItems)
                throw std::runtime_error("not all items were stored");
        });
    }
    /// One channel, in a database with that many log rows.
    Cost OneChannel(int log_rows) {
        const auto path = Fresh(1);
        Measured([&] {
            Connection database;
            database.DataSource(path);
            database.Execute(
                "INSERT INTO DownloadLog (Session, Channel, Result, Error, EventTime, NewItems, UpdatedItems)"
                " WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                std::to_string(log_rows) +
                ") SELECT 1, 1, 5, 0, datetime(946684800 + i * 30, 'unixepoch'), 0, 0 FROM n");
            database.Execute("PRAGMA wal_checkpoint(TRUNCATE)");
        });
        return Measured([&] { EngineRun(path).All(); });
    }

private:
    std::string Fresh(int channels) {
        const auto path = (folder_ / ("RSS" + std::to_string(++databases_) + ".MDB")).string();
        const auto addresses = server_.Addresses(channels);
        Measured([&] { MakeDatabase(path, addresses); });
        return path;
    }

    Server server_;
    std::filesystem::path folder_;
    int databases_ = 0;
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void Compare(Bench& bench) {
    std::vector<double> ratios;
    for (int round = 0; round < kRounds; ++round) {
        Cost known{};
        const auto bare = bench.Bare(kFeeds);
        const auto engine = bench.Engine(kFeeds, &known);
        Print("bare program, 1000 channels, all new", bare);
        Print("run, 1000 channels, all new", engine);
        Print("run, 1000 channels, nothing new", known);
        ratios.push_back(engine.processor_seconds / bare.processor_seconds);
    }
    std::printf("=> run / bare, processor time, median of %d: %.2f (to reach: 2)\n\n", kRounds,
                Median(ratios));
}

void Scale(Bench& bench) {
    std::vector<double> ratios;
    for (int round = 0; round < 3; ++round) {
        const auto thousand = bench.Engine(kFeeds);
        const auto ten_thousand = bench.Engine(10 * kFeeds);
        Print("run, 1000 channels, all new", thousand);
        Print("run, 10000 channels, all new", ten_thousand);
        ratios.push_back(ten_thousand.processor_seconds / thousand.processor_seconds);
    }
    std::printf("=> 10000 / 1000 channels, processor time, median of 3: %.2f (to reach: 9 to 11)\n\n",
                Median(ratios));
}

void Start(Bench& bench) {
    Print("run of one channel, empty log", bench.OneChannel(1));
    Print("run of one channel, 10,000,000 log rows", bench.OneChannel(10'000'000));
}

}  // namespace
}  // namespace pellago::bench

int main() {
    try {
        pellago::bench::Bench bench;
        pellago::bench::Compare(bench);
        pellago::bench::Start(bench);
        pellago::bench::Scale(bench);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
