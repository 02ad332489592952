// whole_run [--rounds=N] [case …]: runs of the terminal program and of the tray program beside a bare program
// that does the same fetching, parsing and storing. Every measured piece is a process of its own. What is
// compared runs in turn, five times; figures are medians, ratios those of the rounds. Without names all cases
// are run.

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string_view>

#include "platform/loop/message_loop.h"
#include "test_bed.h"

namespace pellago::bench {
namespace {

using Series = std::vector<Cost>;
using Figure = double Cost::*;

struct Run {
    const char* name;
    std::function<Cost()> run;
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

std::vector<double> Figures(const Series& series, Figure figure) {
    std::vector<double> figures;
    for (const auto& cost : series) figures.push_back(cost.*figure);
    return figures;
}

double MedianRatio(std::vector<double> of, const std::vector<double>& to) {
    for (std::size_t round = 0; round < of.size(); ++round) of[round] /= to.at(round);
    return Median(of);
}

[[gnu::format(printf, 1, 2)]] std::string Text(const char* format, ...) {
    std::array<char, 256> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

/// "1.20 (2.40 s / 2.00 s)"
std::string Ratio(const Series& of, const Series& to, Figure figure) {
    const auto a = Figures(of, figure);
    const auto b = Figures(to, figure);
    return Text("%.2f (%.2f s / %.2f s)", MedianRatio(a, b), Median(a), Median(b));
}

class Bench final {
public:
    explicit Bench(int rounds) : rounds_(rounds) {}

    void AllNew();
    void NothingNew();
    void Latency();
    void Faults();
    void Scale();
    void ManyItems();
    void Tray();
    void LongLog();

    void PrintTable() const {
        std::printf("\n| case | to reach | processor time | wall time |\n|---|---|---|---|\n%s",
                    table_.c_str());
    }

private:
    std::vector<Series> Repeated(const std::vector<Run>& runs) {
        std::vector<Series> all(runs.size());
        for (int round = 0; round < rounds_; ++round)
            for (std::size_t index = 0; index < runs.size(); ++index)
                all[index].push_back(Measured(runs[index]));
        return all;
    }

    Cost Measured(const Run& run) {
        const auto cost = run.run();
        const auto counts = bed_.Server().Counts();
        std::printf(
            "%-34s %8.3f s processor %8.3f s wall %6.1f MiB; %d requests, %d answered 304, %d connections, "
            "at most %d"
            " at once, %d of one host\n",
            run.name, cost.processor_seconds, cost.wall_seconds, cost.peak_mib, counts.requests,
            counts.not_modified, counts.connections, counts.most_at_once, counts.most_at_once_of_host);
        std::fflush(stdout);
        return cost;
    }

    void Row(const std::string& name, const std::string& to_reach, const std::string& processor,
             const std::string& wall) {
        table_ += "| " + name + " | " + to_reach + " | " + processor + " | " + wall + " |\n";
    }
    void RatioRow(const std::string& name, const std::string& to_reach, const Series& of, const Series& to) {
        Row(name, to_reach, Ratio(of, to, &Cost::processor_seconds), Ratio(of, to, &Cost::wall_seconds));
    }

    /// A run on a database without items, and nothing cached.
    Cost Fresh(const std::vector<std::string>& addresses, int items, const std::function<Cost()>& run,
               const Behaviour& behaviour = {}) {
        bed_.Subscribe(addresses);
        bed_.Server().Behave(behaviour);
        const auto cost = run();
        bed_.RequireItems(items);
        return cost;
    }
    Cost FreshBare(int feeds = kFeeds) {
        return Fresh(bed_.Addresses(feeds), feeds * kItems, [&] { return bed_.Bare(); });
    }
    Cost FreshTerminal(int feeds = kFeeds) {
        return Fresh(bed_.Addresses(feeds), feeds * kItems, [&] { return bed_.Terminal(); });
    }
    /// A run that finds nothing new.
    Cost Again(const Behaviour& behaviour) {
        bed_.Server().Behave(behaviour);
        const auto cost = bed_.Terminal();
        bed_.RequireItems(kFeeds * kItems);
        return cost;
    }
    Cost OneChannel(const char* log_rows);

    int rounds_;
    TestBed bed_;
    std::string table_;
};

void Bench::AllNew() {
    const auto series =
        Repeated({{"bare, all new", [&] { return FreshBare(); }},
                  {"run, all new", [&] { return FreshTerminal(); }},
                  {"run, all new, HttpCache 0",
                   [&] { return bed_.With("HttpCache", "0", [&] { return FreshTerminal(); }); }},
                  {"run, all new, ReadAhead 0",
                   [&] { return bed_.With("ReadAhead", "0", [&] { return FreshTerminal(); }); }}});
    RatioRow("no latency, all new / bare", "at most 1.5", series[1], series[0]);
    RatioRow("the same with HttpCache 0 / bare", "", series[2], series[0]);
    RatioRow("the same with ReadAhead 0 / bare", "", series[3], series[0]);
}

void Bench::NothingNew() {
    FreshTerminal();
    const auto series =
        Repeated({{"run, nothing new, full bodies", [&] { return Again({.honours_conditions = false}); }},
                  {"run, nothing new, 304", [&] { return Again({}); }},
                  {"run, nothing new, full gzip bodies",
                   [&] { return Again({.honours_conditions = false, .gzip = true}); }},
                  {"run, nothing new, HttpCache 0",
                   [&] { return bed_.With("HttpCache", "0", [&] { return Again({}); }); }}});
    RatioRow("nothing new, all 304 / full bodies", "at most 0.8", series[1], series[0]);
    RatioRow("nothing new, all 304 / full bodies, sent as gzip", "", series[1], series[2]);
    RatioRow("nothing new, all 304 / full bodies with HttpCache 0", "", series[1], series[3]);
}

constexpr Behaviour kFar{.latency = std::chrono::milliseconds(100)};

/// Of all feeds, over the healthy hosts.
std::vector<std::string> HundredHosts(const FeedServer& server) {
    std::vector<std::string> addresses;
    for (int feed = 0; feed < kFeeds; ++feed)
        addresses.push_back(server.Address(feed % FeedServer::kHealthyHosts, '/' + std::to_string(feed)));
    return addresses;
}

/// With the dead and the slow hosts among them, each with one feed, spread over the list.
std::vector<std::string> HundredAndFortyHosts(const FeedServer& server) {
    auto addresses = HundredHosts(server);
    constexpr int kFaulty = FeedServer::kDeadHosts + FeedServer::kSlowHosts;
    constexpr int kStep = kFeeds / kFaulty - 1;  // no divisor of the hosts: none of them loses all its feeds
    for (int index = 0; index < kFaulty; ++index) {
        const int feed = index * kStep + kStep / 2;
        const int host = FeedServer::kHealthyHosts + index / 2 + (index % 2) * FeedServer::kDeadHosts;
        addresses.at(static_cast<std::size_t>(feed)) = server.Address(host, '/' + std::to_string(feed));
    }
    return addresses;
}

void Bench::Latency() {
    const auto addresses = HundredHosts(bed_.Server());
    const auto run = [&](const std::function<Cost()>& program) {
        return Fresh(addresses, kFeeds * kItems, program, kFar);
    };
    const auto series =
        Repeated({{"bare, 100 ms, 100 hosts", [&] { return run([&] { return bed_.Bare(); }); }},
                  {"run, 100 ms, 100 hosts", [&] { return run([&] { return bed_.Terminal(); }); }}});
    RatioRow("100 ms latency, 100 hosts, all new / bare", "wall at most 1.3", series[1], series[0]);
}

void Bench::Faults() {
    const auto healthy = HundredHosts(bed_.Server());
    const auto faulty = HundredAndFortyHosts(bed_.Server());
    std::vector<double> answered_before, answered;
    const auto note = [&](std::vector<double>& seconds, const Cost& cost) {
        const std::chrono::duration<double> last = bed_.Server().Counts().last_healthy_answer - cost.start;
        seconds.push_back(last.count());
        return cost;
    };
    const auto series =
        Repeated({{"run, 100 ms, 100 hosts",
                   [&] {
                       return note(answered_before,
                                   Fresh(
                                       healthy, kFeeds * kItems, [&] { return bed_.Terminal(); }, kFar));
                   }},
                  {"run, 20 dead, 20 slow hosts more", [&] {
                       return note(answered, Fresh(
                                                 faulty, (kFeeds - FeedServer::kDeadHosts) * kItems,
                                                 [&] { return bed_.Terminal(1); }, kFar));
                   }}});
    const auto wall = Median(Figures(series[1], &Cost::wall_seconds));
    const auto before = Median(Figures(series[0], &Cost::wall_seconds));
    Row("the same with 20 dead and 20 slow hosts", "wall at most 65 s",
        Text("%.2f s", Median(Figures(series[1], &Cost::processor_seconds))), Text("%.2f s", wall));
    Row("its last answer of a healthy host / before", "wall at most 1.3", "",
        Text("%.2f (%.2f s / %.2f s)", MedianRatio(answered, answered_before), Median(answered),
             Median(answered_before)));
    Row("its wall time without the 60 s of the dead / before", "", "",
        Text("%.2f (%.2f s / %.2f s)", (wall - 60) / before, wall - 60, before));
}

void Bench::Scale() {
    const auto series = Repeated({{"run, 1,000 feeds", [&] { return FreshTerminal(); }},
                                  {"run, 10,000 feeds", [&] { return FreshTerminal(10 * kFeeds); }}});
    RatioRow("10,000 feeds / 1,000 feeds", "9 to 11", series[1], series[0]);
    Row("peak memory with 1,000 and 10,000 feeds", "under 64 MiB above the cache",
        Text("%.1f and %.1f MiB", Median(Figures(series[0], &Cost::peak_mib)),
             Median(Figures(series[1], &Cost::peak_mib))),
        "");
}

void Bench::ManyItems() {
    const std::vector<std::string> address{bed_.Server().Address(0, "/many")};
    const auto series = Repeated(
        {{"bare, 20,000 items", [&] { return Fresh(address, kManyItems, [&] { return bed_.Bare(); }); }},
         {"run, 20,000 items", [&] { return Fresh(address, kManyItems, [&] { return bed_.Terminal(); }); }}});
    RatioRow("one feed with 20,000 items / bare", "at most 1.6", series[1], series[0]);
}

void Bench::Tray() {
    const auto series =
        Repeated({{"terminal program, all new", [&] { return FreshTerminal(); }},
                  {"tray program, window shown", [&] {
                       return Fresh(bed_.Addresses(kFeeds), kFeeds * kItems, [&] { return bed_.Tray(); });
                   }}});
    RatioRow("tray program, window shown / terminal program", "at most 1.2", series[1], series[0]);
}

Cost Bench::OneChannel(const char* log_rows) {
    bed_.Subscribe(bed_.Addresses(1));
    bed_.Database().Execute(
        std::string(
            "INSERT INTO DownloadLog (Session, Channel, Result, Error, EventTime, NewItems, UpdatedItems)"
            " WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ") +
        log_rows + ") SELECT 1, 1, 5, 0, datetime(946684800 + i * 30, 'unixepoch'), 0, 0 FROM n");
    bed_.Database().Close();
    bed_.Server().Behave({});
    return bed_.Terminal();
}

void Bench::LongLog() {
    const auto few = Measured({"one channel, empty log", [&] { return OneChannel("1"); }});
    const auto many = Measured({"one channel, 10,000,000 log rows", [&] { return OneChannel("10000000"); }});
    RatioRow("one channel, 10,000,000 log rows / empty log", "the same", {many}, {few});
}

struct Case {
    std::string_view name;
    void (Bench::*run)();
};
constexpr std::array<Case, 8> kCases{{{"new", &Bench::AllNew},
                                      {"known", &Bench::NothingNew},
                                      {"latency", &Bench::Latency},
                                      {"faults", &Bench::Faults},
                                      {"scale", &Bench::Scale},
                                      {"many", &Bench::ManyItems},
                                      {"tray", &Bench::Tray},
                                      {"log", &Bench::LongLog}}};

int Main(std::vector<std::string> arguments) {
    int rounds = 5;
    constexpr std::string_view kRounds = "--rounds=";
    if (!arguments.empty() && arguments.front().starts_with(kRounds)) {
        const auto& text = arguments.front();
        std::from_chars(text.data() + kRounds.size(), text.data() + text.size(), rounds);
        arguments.erase(arguments.begin());
    }
    const auto is_case = [](const std::string& name) {
        return std::ranges::find(kCases, name, &Case::name) != kCases.end();
    };
    if (rounds < 1 || !std::ranges::all_of(arguments, is_case)) {
        std::fprintf(stderr,
                     "usage: whole_run [--rounds=N] [new|known|latency|faults|scale|many|tray|log …]\n");
        return 64;
    }
    Bench bench(rounds);
    for (const auto& each : kCases)
        if (arguments.empty() || std::ranges::find(arguments, each.name) != arguments.end())
            (bench.*each.run)();
    bench.PrintTable();
    return 0;
}

}  // namespace
}  // namespace pellago::bench

int main(int argc, char** argv) {
    const pellago::MessageLoop loop;  // the data layer needs one
    try {
        return pellago::bench::Main({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
