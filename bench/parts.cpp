#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <list>
#include <stdexcept>

#include "engine_run.h"
#include "feed_server.h"
#include "feeds/channel.h"
#include "feeds/rss_date_time.h"
#include "infra/process_objects.h"
#include "infra/timer.h"
#include "made_database.h"
#include "made_feeds.h"
#include "platform/loop/message_loop.h"

namespace pellago::bench {
namespace {

namespace fs = std::filesystem;

/// A folder for files and settings, gone with the program.
class Folder final {
public:
    Folder() {
        auto pattern = (fs::temp_directory_path() / "pellago-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
        path_ = pattern;
        setenv("PELLAGO_HOME", path_.c_str(), 1);
        setenv("XDG_CONFIG_HOME", path_.c_str(), 1);
    }
    ~Folder() { fs::remove_all(path_); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string File(const std::string& name, const std::string& bytes) const {
        std::ofstream(path_ / name, std::ios::binary) << bytes;
        return (path_ / name).string();
    }
    std::string Unused() { return (path_ / ("RSS" + std::to_string(++databases_) + ".MDB")).string(); }

private:
    fs::path path_;
    int databases_ = 0;
};

Folder& TheFolder() {
    static Folder folder;
    return folder;
}

void Dates(benchmark::State& state) {
    constexpr std::array kTexts{"Tue, 10 Jun 2003 04:00:00 GMT", "2003-06-10T04:00:00+02:00",
                                "Tue Jun 10 04:00:00 PST 2003", "10 Jun 03 04:00 EDT", "Someday in June"};
    for (auto _ : state)
        for (int i = 0; i < 100'000; ++i)
            benchmark::DoNotOptimize(
                gRSSDateTime().Parse(kTexts[static_cast<std::size_t>(i) % kTexts.size()]));
    state.SetItemsProcessed(state.iterations() * 100'000);
}
BENCHMARK(Dates)->Unit(benchmark::kMillisecond);

void ParseThousandFeeds(benchmark::State& state) {
    std::vector<std::string> paths;
    for (int i = 0; i < 1000; ++i)
        paths.push_back(TheFolder().File(std::to_string(i) + ".xml", MadeFeed(i, 30)));
    clsChannel channel;
    for (auto _ : state)
        for (const auto& path : paths)
            if (!channel.Load(path)) state.SkipWithError("a feed was not loaded");
}
BENCHMARK(ParseThousandFeeds)->Unit(benchmark::kMillisecond);

const std::string& FortyThousandItems() {
    static const auto path = TheFolder().File("many.xml", MadeFeed(1, 40'000, 4));
    return path;
}

void LoadFortyThousandItems(benchmark::State& state) {
    clsChannel channel;
    for (auto _ : state)
        if (!channel.Load(FortyThousandItems())) state.SkipWithError("the feed was not loaded");
}
BENCHMARK(LoadFortyThousandItems)->Unit(benchmark::kMillisecond);

void LoadAndStoreFortyThousandNewItems(benchmark::State& state) {
    for (auto _ : state) {
        state.PauseTiming();
        const auto database = TheFolder().Unused();
        MakeDatabase(database, {FortyThousandItems()});
        state.ResumeTiming();
        EngineRun run(database);
        run.Channel(1);
        if (run.Stored() != 40'000) state.SkipWithError("not all items were stored");
    }
}
BENCHMARK(LoadAndStoreFortyThousandNewItems)->Unit(benchmark::kMillisecond);

void LoadAndWalkFortyThousandKnownItems(benchmark::State& state) {
    const auto database = TheFolder().Unused();
    MakeDatabase(database, {FortyThousandItems()});
    EngineRun(database).Channel(1);
    for (auto _ : state) EngineRun(database).Channel(1);
}
BENCHMARK(LoadAndWalkFortyThousandKnownItems)->Unit(benchmark::kMillisecond);

/// Nothing pending, in a program with timers and with idle connections to ten hosts.
void YieldToTheMessageLoop(benchmark::State& state) {
    struct : iTimer {
        void iTimer_Fire(std::int32_t) override {}
    } owner;
    std::list<cTimer> timers(5);
    for (auto& timer : timers) timer.start(1000, owner);
    const FeedServer server(1, 1, 1);
    clsChannel channel;
    for (int host = 0; host < 10; ++host)
        if (!channel.Load(server.Address(host, "/0"))) state.SkipWithError("a feed was not loaded");
    for (auto _ : state) DoEvents();
}
BENCHMARK(YieldToTheMessageLoop)->Unit(benchmark::kNanosecond);

}  // namespace
}  // namespace pellago::bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    pellago::bench::TheFolder();
    const pellago::MessageLoop loop;
    pellago::CreateProcessObjects();
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
