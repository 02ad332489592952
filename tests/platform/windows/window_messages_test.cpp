#include "platform/windows/window_messages.h"

#include <gmock/gmock.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <filesystem>
#include <list>
#include <optional>
#include <set>
#include <stdexcept>

#include "platform/values/run_time_error.h"
#include "platform/windows/named_mutex.h"
#include "support/child.h"
#include "support/support.h"
#include "support/thrown.h"
#include "support/wait_until.h"
#include "window_peer.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using test::Child;
using test::kAddOne;
using test::kRightOnes;
using test::kSendBack;
using test::kSendMany;
using test::TimeOf;
using testing::ElementsAre;
using testing::SizeIs;
namespace fs = std::filesystem;

std::int32_t AddOne(std::int32_t, std::int32_t, std::int32_t wParam, std::int32_t) { return wParam + 1; }
std::int32_t EndItself(std::int32_t hwnd, std::int32_t, std::int32_t, std::int32_t) {
    return DestroyWindowHandle(hwnd) ? 7 : 0;
}

class Window final {
public:
    explicit Window(WindowProcedure procedure = AddOne) : handle_(CreateWindowHandle(std::move(procedure))) {}
    ~Window() { DestroyWindowHandle(handle_); }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    std::int32_t Handle() const { return handle_; }

private:
    std::int32_t handle_;
};

/// The program window_peer, killed with the object. A program, since a forked child would share the event
/// loop.
class Peer final {
public:
    Peer() : process_([this] { Run(); }) {
        output_.CloseWriting();
        window_ = output_.Get<std::int32_t>();
    }

    std::int32_t Window() const { return window_; }
    Child& Process() { return process_; }
    std::int32_t Send(std::int32_t uMsg, std::int32_t wParam = 0, std::int32_t lParam = 0) const {
        return SendMessage(window_, uMsg, wParam, lParam);
    }

private:
    void Run() const {
        dup2(output_.Writing(), STDOUT_FILENO);
        execl(WINDOW_PEER, WINDOW_PEER, nullptr);
        _exit(127);
    }

    test::Pipe output_;
    Child process_;
    std::int32_t window_ = 0;
};

class AWindow : public testing::Test {
protected:
    std::set<std::string> Sockets() const {
        std::set<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder_ / "pellago"))
            if (entry.is_socket()) found.insert(entry.path());
        return found;
    }
    std::string SocketOf(std::int32_t hwnd) const {
        return folder_ / ("pellago/messages-" + std::to_string(hwnd >> 9));
    }

    test::TempDir folder_;
    test::EnvVar runtime_folder_{"XDG_RUNTIME_DIR", folder_.Path().string()};
};

/// A client of a window's socket that knows nothing of its messages.
class Stranger final {
public:
    explicit Stranger(const std::string& path, int flags = 0)
        : socket_(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(std::begin(address.sun_path), sizeof address.sun_path - 1);
        connected_ = connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    }
    ~Stranger() { close(socket_); }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    bool IsConnected() const { return connected_; }
    void Send(const std::string& bytes) const { send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }
    /// Waits for the connection's end; true when nothing came before it.
    bool IsDropped() const {
        pollfd end{socket_, POLLIN, 0};
        char byte = 0;
        return poll(&end, 1, 5000) == 1 && recv(socket_, &byte, 1, MSG_DONTWAIT) <= 0;
    }

private:
    int socket_;
    bool connected_ = false;
};

TEST_F(AWindow, OfThisProcessAnswersAtOnceWhateverItsProcedureDoes) {
    const Window steady;
    EXPECT_GT(steady.Handle(), 511);
    EXPECT_EQ(SendMessage(steady.Handle(), 0, -5, 0), -4);
    EXPECT_EQ(SendMessage(Window([](auto...) -> std::int32_t { throw std::runtime_error("lost"); }).Handle(),
                          0, 0, 0),
              0);
    EXPECT_EQ(SendMessage(Window(nullptr).Handle(), 0, 0, 0), 0);
    const Window fleeting(EndItself);
    EXPECT_EQ(SendMessage(fleeting.Handle(), 0, 0, 0), 7);
    for (const auto hwnd : {fleeting.Handle(), steady.Handle() + 100, 0, -1, 1}) {
        EXPECT_EQ(SendMessage(hwnd, 0, 1, 0), 0) << hwnd;
        EXPECT_FALSE(DestroyWindowHandle(hwnd));
        EXPECT_FALSE(SetWindowProcedure(hwnd, AddOne));
    }
    EXPECT_EQ(SetWindowProcedure(steady.Handle(), nullptr)(0, 0, 1, 0), 2);
    EXPECT_EQ(SendMessage(steady.Handle(), 0, 1, 0), 0);
}

TEST_F(AWindow, HasAHandleThatIsNotSoonUsedAgain) {
    const Window steady;
    std::set<std::int32_t> handles{steady.Handle()};
    for (int n = 0; n < 510; ++n) handles.insert(Window().Handle());
    EXPECT_THAT(handles, SizeIs(511));
    std::list<Window> all(510);
    EXPECT_EQ(test::ThrownBy([] { const Window one_too_many; }).text, "Too many windows");
}

TEST_F(AWindow, IsReachedFromOtherProcessesAndMaySendBackMeanwhile) {
    const Peer peer;
    const Window own;
    EXPECT_EQ(peer.Send(kAddOne, 41), 42);
    EXPECT_EQ(peer.Send(kAddOne, -2'000'000'000), -1'999'999'999);
    EXPECT_EQ(peer.Send(kSendBack, 5, own.Handle()), 1006);
    EXPECT_EQ(SendMessage(peer.Window() + 1, kAddOne, 1, 0), 0) << "another of its windows";
    EXPECT_TRUE(NamedMutex("peer").AlreadyExisted());
    constexpr int kTimes = 200;
    const auto time = TimeOf([&] {
        for (int n = 0; n < kTimes; ++n) EXPECT_EQ(peer.Send(kAddOne, n), n + 1);
    });
    EXPECT_LT(time / kTimes, 5ms);
    RecordProperty("MicrosecondsOfARoundTrip", static_cast<int>(time / 1us / kTimes));
}

TEST_F(AWindow, IsReachedWhereTheRuntimeFolderHasALongNameAndOddOnesInIt) {
    const auto folder = folder_ / std::string(120, 'x');
    fs::create_directory(folder);
    const test::EnvVar runtime_folder("XDG_RUNTIME_DIR", folder);
    const Peer peer;
    const auto odd = "/pellago/messages-" + std::string(90, '9');
    fs::rename(folder + "/pellago/messages-" + std::to_string(peer.Window() >> 9), folder + odd);
    const Peer another;
    EXPECT_EQ(another.Send(kAddOne, 1), 2);
    EXPECT_TRUE(fs::exists(folder + odd));
}

TEST_F(AWindow, AndAnotherProcesssMaySendToEachOtherAtOnce) {
    const Peer peer;
    const Window own;
    constexpr std::int32_t kTimes = 300;
    peer.Send(kSendMany, kTimes, own.Handle());
    for (std::int32_t n = 0; n < kTimes; ++n) ASSERT_EQ(peer.Send(kAddOne, n), n + 1);
    EXPECT_TRUE(test::WaitUntil([&] { return peer.Send(kRightOnes) == kTimes; }, 5s));
}

TEST_F(AWindow, MayEndItsProcesssLastWindowWithAMessageFromOutside) {
    const Peer peer;
    const Window own(EndItself);
    EXPECT_EQ(peer.Send(kSendBack, 0, own.Handle()), 1007);
    EXPECT_THAT(Sockets(), ElementsAre(SocketOf(peer.Window())));
    const Window from_the_loop(EndItself);
    peer.Send(kSendMany, 1, from_the_loop.Handle());
    EXPECT_TRUE(test::WaitUntil([&] { return !fs::exists(SocketOf(from_the_loop.Handle())); }, 5s));
}

TEST_F(AWindow, OfAKilledProcessAnswersZeroAtOnceAndLeavesNothingInTheWay) {
    Peer peer;
    ASSERT_EQ(peer.Send(kAddOne, 1), 2);
    peer.Process().Signal(SIGKILL);
    peer.Process().Wait();
    EXPECT_LT(TimeOf([&] { EXPECT_EQ(peer.Send(kAddOne, 1), 0); }), 100ms);
    EXPECT_FALSE(NamedMutex("peer").AlreadyExisted());
    ASSERT_THAT(Sockets(), ElementsAre(SocketOf(peer.Window())));
    std::optional<Window> own(std::in_place);
    EXPECT_THAT(Sockets(), ElementsAre(SocketOf(own->Handle())));
    own.reset();
    EXPECT_THAT(Sockets(), SizeIs(0));
    EXPECT_LT(TimeOf([&] { EXPECT_EQ(peer.Send(kAddOne, 1), 0); }), 100ms);
}

// The one waits for an answer, the other in a queue that is full.
TEST_F(AWindow, OfAStoppedProcessIsGivenUpAfterFiveSecondsAndServedMeanwhile) {
    const auto gives_up = [](const Peer& stopped) {
        const auto time = TimeOf([&] { EXPECT_EQ(stopped.Send(kAddOne, 1), 0); });
        return time >= 4900ms && time < 6000ms;
    };
    Peer silent;
    Peer crowded;
    const Peer active;
    silent.Process().Signal(SIGSTOP);
    crowded.Process().Signal(SIGSTOP);
    std::list<Stranger> queue;
    do queue.emplace_back(SocketOf(crowded.Window()), SOCK_NONBLOCK);
    while (queue.back().IsConnected());
    Child sender([&] { _exit(gives_up(silent) ? 0 : 1); });
    const Window own;
    active.Send(kSendMany, 10, own.Handle());
    EXPECT_TRUE(gives_up(crowded));
    EXPECT_EQ(active.Send(kRightOnes), 10);
    EXPECT_EQ(sender.Wait(), 0);
    queue.clear();
    for (Peer* each : {&silent, &crowded}) {
        each->Process().Signal(SIGCONT);
        EXPECT_EQ(each->Send(kAddOne, 1), 2);
    }
}

TEST_F(AWindow, CaresForNoClientThatIsSilentOrKnowsNothingOfMessages) {
    const Peer peer;
    const auto socket = SocketOf(peer.Window());
    for (const auto size : {1U, 15U, 17U, 5000U}) {
        const Stranger stranger(socket);
        stranger.Send(std::string(size, 'x'));
        EXPECT_TRUE(stranger.IsDropped()) << size;
    }
    std::list<Stranger> silent;
    for (int n = 0; n < 200; ++n) {
        silent.emplace_back(socket);
        EXPECT_EQ(peer.Send(kAddOne, n), n + 1);
    }
    EXPECT_TRUE(silent.front().IsDropped()) << "for the many that came after it";
}

TEST_F(AWindow, WorksInItsProcessWhereNoOtherCanReachIt) {
    test::WriteFile(folder_ / "file", "");
    for (const auto& unusable : {folder_ / "file", folder_ / "missing"}) {
        const test::EnvVar runtime_folder("XDG_RUNTIME_DIR", unusable);
        const Window own;
        EXPECT_EQ(SendMessage(own.Handle(), 0, 1, 0), 2);
        EXPECT_EQ(SendMessage(own.Handle() ^ (1 << 20), 0, 1, 0), 0);
    }
}

}  // namespace
}  // namespace pellago
