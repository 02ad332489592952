#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "feed_server.h"
#include "measured_program.h"
#include "platform/data/connection.h"

namespace pellago::bench {

constexpr int kFeeds = 1000;
constexpr int kItems = 35;
constexpr int kManyItems = 20'000;

/// The server, a folder for all that the programs write, and the programs, run one after the other on fresh
/// databases. Settings, cache and runtime files are the folder's own.
class TestBed final {
public:
    TestBed();
    ~TestBed();
    TestBed(const TestBed&) = delete;
    TestBed& operator=(const TestBed&) = delete;

    FeedServer& Server() { return server_; }
    /// Of `count` feeds, all of the first host.
    std::vector<std::string> Addresses(int count) const;

    /// For programs that `run` starts: with this value of a setting that otherwise has its default.
    static Cost With(const std::string& setting, const std::string& value, const std::function<Cost()>& run);

    /// A database that takes the place of the one before, and an empty cache.
    void Subscribe(const std::vector<std::string>& addresses);
    Connection& Database() { return *database_; }
    /// Throws unless so many items are stored.
    void RequireItems(int count);

    Cost Bare() const;
    /// The terminal program; with status 1 some channels failed.
    Cost Terminal(int expected_status = 0) const;
    /// The tray program, from its start to its end, with its window shown before the run begins. Its wall
    /// time is that of the run alone.
    Cost Tray();

private:
    bool RunHasEnded();

    FeedServer server_{kFeeds, kItems, kManyItems};
    std::filesystem::path folder_;
    std::string path_;
    std::unique_ptr<Connection> database_;
    int databases_ = 0;
};

}  // namespace pellago::bench
