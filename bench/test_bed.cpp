#include "test_bed.h"

#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "infra/process_objects.h"
#include "infra/setting_names.h"
#include "made_database.h"

namespace pellago::bench {
namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

void Setting(const std::string& name, const std::string& value) {
    gAppSettings->SaveSetting(kSettingsSection, name, Variant(value));
}

void WaitUntil(const MeasuredProgram& program, const std::function<bool()>& condition) {
    constexpr std::chrono::minutes kLimit{10};
    for (const auto start = Clock::now(); !condition();
         std::this_thread::sleep_for(std::chrono::milliseconds(10)))
        if (program.HasEnded() || Clock::now() - start > kLimit)
            throw std::runtime_error("the tray program has ended, or hangs");
}

}  // namespace

TestBed::TestBed() {
    auto pattern = (fs::temp_directory_path() / "pellago-bench-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    folder_ = pattern;
    fs::create_directory(folder_ / "run");
    fs::permissions(folder_ / "run", fs::perms::owner_all);
    setenv("PELLAGO_HOME", folder_.c_str(), 1);
    setenv("XDG_CONFIG_HOME", folder_.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (folder_ / "run").c_str(), 1);
    setenv("PELLAGO_CONNECTION", "lan", 1);
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("QT_LOGGING_RULES", "default.warning=false", 1);  // that platform tells what it cannot do
    CreateProcessObjects();
    Setting(setting_name::kAutoUpdate, "0");
    // That of the terminal program: the lowest, which is the default, is another wall time.
    Setting(setting_name::kProcessPriority, "3");
}

TestBed::~TestBed() {
    database_.reset();
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::vector<std::string> TestBed::Addresses(int count) const {
    std::vector<std::string> addresses;
    for (int feed = 0; feed < count; ++feed)
        addresses.push_back(server_.Address(0, '/' + std::to_string(feed)));
    return addresses;
}

Cost TestBed::With(const std::string& setting, const std::string& value, const std::function<Cost()>& run) {
    Setting(setting, value);
    const auto cost = run();
    gAppSettings->DeleteSetting(kSettingsSection, setting);
    return cost;
}

void TestBed::Subscribe(const std::vector<std::string>& addresses) {
    database_.reset();
    if (!path_.empty())
        for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(path_ + suffix);
    const auto number = std::to_string(++databases_);
    path_ = (folder_ / ("RSS" + number + ".MDB")).string();
    // The one before stays for now: after many files have been deleted some file systems are slow to make new
    // ones, and the next run would pay for that.
    setenv("XDG_CACHE_HOME", (folder_ / ("cache" + number)).c_str(), 1);
    MakeDatabase(path_, addresses);
    Setting(setting_name::kDatabase, path_);
    database_ = std::make_unique<Connection>();
    database_->DataSource(path_);
}

void TestBed::RequireItems(int count) {
    const auto stored = CLng(database_->Scalar("SELECT count(*) FROM News"));
    database_->Close();
    if (stored != count)
        throw std::runtime_error(std::to_string(stored) + " items were stored and not " +
                                 std::to_string(count));
}

Cost TestBed::Bare() const { return MeasuredProgram(BARE_RUN, {path_}).Wait(); }

Cost TestBed::Terminal(int expected_status) const {
    return MeasuredProgram(PELLAGO, {"update", "--quiet"}).Wait(expected_status);
}

Cost TestBed::Tray() {
    Setting(setting_name::kWindow, "0");
    MeasuredProgram tray(PELLAGOD, {});
    WaitUntil(tray, [] {
        return CLng(gAppSettings->GetSetting(kSettingsSection, setting_name::kWindow, Variant(0))) > 0;
    });
    const auto start = Clock::now();
    MeasuredProgram(PELLAGOD, {"--update"}).Wait();
    WaitUntil(tray, [&] { return RunHasEnded(); });
    const std::chrono::duration<double> wall = Clock::now() - start;
    database_->Close();
    MeasuredProgram(PELLAGOD, {"--close"}).Wait();
    auto cost = tray.Wait();
    cost.wall_seconds = wall.count();
    return cost;
}

bool TestBed::RunHasEnded() {
    return CLng(database_->Scalar("SELECT count(*) FROM DownloadSessions WHERE EndTime IS NOT NULL")) > 0;
}

}  // namespace pellago::bench
