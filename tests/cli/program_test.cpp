#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <thread>

#include "cli_fixture.h"
#include "support/child.h"
#include "support/http_server.h"

namespace pellago::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

/// The real program; its output goes to `output`, a descriptor.
Child Program(std::vector<std::string> arguments, int output) {
    return Child([&] {
        std::string program = PELLAGO_BIN "/pellago";
        std::vector<char*> argv{program.data()};
        for (auto& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        dup2(output, STDOUT_FILENO);
        execv(program.c_str(), argv.data());
        _exit(127);
    });
}

class Descriptor final {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() { close(descriptor_); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    operator int() const { return descriptor_; }

private:
    int descriptor_;
};

class AProgram : public ACommandLine {
protected:
    void Subscribe(const std::string& path) {
        const auto list = Opml("<outline text=\"P\" xmlUrl=\"" + server_.Url(path) + "\"/>");
        ASSERT_EQ(Run({"import", File("list.opml", list)}).status, 0);
    }

    HttpServer server_;
    const std::string out_ = folder_ / "out";
};

TEST_F(AProgram, StoppedByCtrlCEndsTheRunProperly) {
    server_.Answer("/stalled", {.stall = true});
    Subscribe("/stalled");
    std::size_t requests = 0;
    for (const int signal : {SIGINT, SIGTERM}) {
        const Descriptor output(open(out_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        auto update = Program({"update"}, output);
        ++requests;
        for (int attempt = 0; attempt < 1000 && server_.Requests("/stalled") < requests; ++attempt)
            std::this_thread::sleep_for(10ms);
        ASSERT_EQ(server_.Requests("/stalled"), requests);
        const auto start = std::chrono::steady_clock::now();
        update.Signal(signal);

        EXPECT_EQ(update.Wait(), 130);
        EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);
        EXPECT_THAT(ReadFile(out_), HasSubstr(", stopped\n"));
    }
    EXPECT_EQ(Ask("SELECT COUNT(*) FROM DownloadLog WHERE Result = 7 AND Channel = 0"), "2");
    EXPECT_EQ(Ask("SELECT COUNT(*) FROM DownloadSessions WHERE EndTime IS NULL"), "0");
}

TEST_F(AProgram, StoppedWhileItWaitsForALockDoesNotWaitOn) {
    server_.Answer("/feed", {.body = Feed("F", "http://f.example/", 1), .delay = 200ms});
    Subscribe("/feed");
    const Descriptor output(open("/dev/null", O_WRONLY | O_CLOEXEC));
    auto update = Program({"update"}, output);
    for (int attempt = 0; attempt < 1000 && server_.Requests("/feed") == 0; ++attempt)
        std::this_thread::sleep_for(10ms);
    Connection other;
    other.DataSource(Database());
    other.BeginWrites();
    std::this_thread::sleep_for(600ms);
    const auto start = std::chrono::steady_clock::now();
    update.Signal(SIGTERM);

    EXPECT_EQ(update.Wait(), 130);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 1s);
}

TEST_F(AProgram, RunTwiceAtOnceStoresNothingTwice) {
    server_.Answer("/feed", {.body = Feed("F", "http://f.example/", 2000), .delay = 300ms});
    Subscribe("/feed");
    const Descriptor output(open("/dev/null", O_WRONLY | O_CLOEXEC));

    auto first = Program({"update"}, output);
    auto second = Program({"update"}, output);
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);

    EXPECT_EQ(server_.Requests("/feed"), 2U);
    EXPECT_EQ(Ask("SELECT COUNT(*) FROM News"), "2000");
    EXPECT_EQ(Ask("SELECT SUM(NewItems) FROM DownloadLog"), "2000");
}

TEST_F(AProgram, WhoseReaderGoesAwayEndsQuietlyAndAFullDiskIsAnError) {
    server_.Answer("/feed", {.body = Feed(std::string(200, 'x'), "http://f.example/", 2000)});
    Subscribe("/feed");
    ASSERT_EQ(Run({"update"}).status, 0);
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    close(ends[0]);
    const Descriptor pipe(ends[1]);
    const Descriptor full(open("/dev/full", O_WRONLY | O_CLOEXEC));

    EXPECT_EQ(Program({"news", "--limit", "2000"}, pipe).Wait(), 0);
    EXPECT_EQ(Program({"news", "--limit", "2000"}, full).Wait(), 77);
    EXPECT_EQ(Program({"update", "--json"}, full).Wait(), 77);
}

TEST_F(AProgram, OnATerminalShowsALiveDisplayAndTakesItAway) {
    const EnvVar kind("TERM", "xterm");
    server_.Answer("/feed", {.body = Feed("Quite a long title", "http://f.example/", 300), .delay = 300ms});
    Subscribe("/feed");
    int terminal = -1;
    int program_side = -1;
    const winsize size{24, 20, 0, 0};
    if (openpty(&terminal, &program_side, nullptr, nullptr, &size) != 0)
        GTEST_SKIP() << "no pseudo-terminals";
    const Descriptor reading(terminal);
    auto writing = std::make_optional<Descriptor>(program_side);
    auto update = Program({"update"}, *writing);
    writing.reset();

    std::string shown;
    std::array<char, 4096> block{};
    for (ssize_t count = 0; (count = read(reading, block.data(), block.size())) > 0;)
        shown.append(block.data(), static_cast<std::size_t>(count));

    EXPECT_EQ(update.Wait(), 0);
    EXPECT_THAT(shown, HasSubstr("Provider 1 of 1: 12\xE2\x80\xA6"));
    EXPECT_THAT(shown, testing::EndsWith("A\x1B[J1 channel, 0 failed, 300 new items\r\n"));
}

}  // namespace
}  // namespace pellago::test
