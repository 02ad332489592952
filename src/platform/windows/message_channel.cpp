#include "message_channel.h"

#include <poll.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <list>
#include <random>
#include <string>
#include <system_error>
#include <utility>

#include "message_socket.h"
#include "platform/files/descriptor.h"
#include "platform/files/file_lock.h"
#include "platform/files/program.h"
#include "platform/loop/long_wait.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kPatience = 5s;
/// Who waits for an answer looks this often whether to go on waiting.
constexpr std::chrono::milliseconds kStep = 25ms;
/// Connections that the kernel keeps for a process that does not accept them.
constexpr int kBacklog = 64;
/// This many clients may have connected and sent nothing yet; one more, and the one that has been silent for
/// longest is dropped.
constexpr std::size_t kMostSilent = 64;

[[noreturn]] void Raise(const std::string& what, int error) {
    throw RunTimeError(error_number::kFileAccess, "", what + ": " + std::generic_category().message(error));
}

}  // namespace

struct MessageChannel::State {
    std::int32_t number = 0;
    Receiver receiver;
    std::string file;
    Descriptor listener{NewMessageSocket()};
    Descriptor events{epoll_create1(EPOLL_CLOEXEC)};  ///< the listener and the clients
    std::list<Descriptor> clients;
    QPointer<QSocketNotifier> notifier;  ///< owned by the application

    State() = default;
    ~State() { Close(); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    bool IsOpen() const { return listener.IsOpen(); }

    void Listen();
    void Close();
    /// Accepts one client or answers one message, if there is any.
    void ServeOne();

private:
    bool Watch(int descriptor) const;
    void Accept();
    void Answer(int descriptor);
};

namespace {

std::weak_ptr<MessageChannel::State>& Current() {
    static std::weak_ptr<MessageChannel::State> current;
    return current;
}

}  // namespace

void MessageChannel::State::Listen() {
    const SocketFolder folder;
    const FileLock lock(JoinPath(folder.Path(), "messages.lock"), kPatience);
    if (!lock.IsHeld()) Raise(folder.Path() + " cannot be locked", lock.Error());
    folder.RemoveStaleSockets();
    int error = EADDRINUSE;
    while (error == EADDRINUSE) {
        number = RandomProcessNumber();
        error = folder.Bind(listener.Get(), number);
    }
    if (error != 0) Raise("No socket can be made in " + folder.Path(), error);
    file = folder.PathOf(number);
    if (listen(listener.Get(), kBacklog) != 0 || !Watch(listener.Get()))
        Raise(file + " cannot be listened to", errno);
}

bool MessageChannel::State::Watch(int descriptor) const {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = descriptor;
    return epoll_ctl(events.Get(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

void MessageChannel::State::Close() {
    if (IsOpen() && !file.empty()) unlink(file.c_str());
    listener.Close();
    clients.clear();
    if (!notifier) return;
    notifier->setEnabled(false);
    notifier->deleteLater();
    notifier.clear();
}

void MessageChannel::State::ServeOne() {
    epoll_event event{};
    if (!IsOpen() || epoll_wait(events.Get(), &event, 1, 0) != 1) return;
    if (event.data.fd == listener.Get())
        Accept();
    else
        Answer(event.data.fd);
}

void MessageChannel::State::Accept() {
    const int client = accept4(listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (client < 0) return;
    clients.emplace_back(client);
    if (!PeerIsSameUser(client) || !Watch(client)) clients.pop_back();
    if (clients.size() > kMostSilent) clients.pop_front();
}

void MessageChannel::State::Answer(int descriptor) {
    const auto found = std::ranges::find(clients, descriptor, &Descriptor::Get);
    if (found == clients.end()) return;
    // Taken out of the list, so that the receiver may do anything, also destroy the channel.
    std::list<Descriptor> client;
    client.splice(client.begin(), clients, found);
    epoll_ctl(events.Get(), EPOLL_CTL_DEL, descriptor, nullptr);
    if (const auto message = ReceivePacket<WindowMessage>(descriptor))
        SendPacket(descriptor, receiver(*message));
}

MessageChannel::MessageChannel(Receiver receiver) : state_(std::make_shared<State>()) {
    auto* application = QCoreApplication::instance();
    if (!application) throw RunTimeError(error_number::kObjectNotSet, "", "There is no message loop");
    state_->receiver = std::move(receiver);
    state_->Listen();
    state_->notifier = new QSocketNotifier(state_->events.Get(), QSocketNotifier::Read, application);
    const auto serve = [channel = std::weak_ptr(state_)] {
        if (const auto state = channel.lock()) state->ServeOne();
    };
    const auto close = [channel = std::weak_ptr(state_)] {
        if (const auto state = channel.lock()) state->Close();
    };
    QObject::connect(state_->notifier, &QSocketNotifier::activated, state_->notifier, serve);
    QObject::connect(state_->notifier, &QObject::destroyed, close);
    Current() = state_;
}

MessageChannel::~MessageChannel() { state_->Close(); }

std::int32_t MessageChannel::Number() const { return state_->number; }

void MessageChannel::Serve() const {
    // Kept alive, since the receiver may destroy the channel.
    const auto state = state_;
    state->ServeOne();
}

std::int32_t RandomProcessNumber() {
    std::random_device random;
    return std::uniform_int_distribution<std::int32_t>(1 << 20, (1 << 22) - 1)(random);
}

namespace {

/// One message under way to another process.
class Sending final {
public:
    explicit Sending(std::int32_t number) : number_(number) {}

    std::int32_t Send(const WindowMessage& message) {
        if (!Connect() || !PeerIsSameUser(peer_.Get()) || !SendPacket(peer_.Get(), message)) return 0;
        while (!HasAnswer(peer_.Get(), std::min(Remaining(), kStep)))
            if ((Remaining() == 0ms || !LongWaitGoesOn()) && !HasAnswer(peer_.Get(), 0ms)) return 0;
        return ReceivePacket<std::int32_t>(peer_.Get()).value_or(0);
    }

private:
    std::chrono::milliseconds Remaining() const {
        return std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now()));
    }

    /// Waits while the queue of a process that does not accept is full.
    bool Connect() {
        constexpr auto kInterval = 5ms;
        for (;;) {
            const int error = folder_.Connect(peer_.Get(), number_);
            if (error != EAGAIN && error != EINTR) return error == 0;
            if (Remaining() == 0ms) return false;
            HasAnswer(-1, kInterval);
        }
    }

    /// Waits for the answer, or the end, of the process behind the socket `peer` (-1: of none), and serves
    /// one message that arrives for this process before it. False when there was neither answer nor end.
    static bool HasAnswer(int peer, std::chrono::milliseconds limit) {
        const auto own = Current().lock();
        const int served = own && own->IsOpen() ? own->events.Get() : -1;
        std::array<pollfd, 2> ready{{{peer, POLLIN, 0}, {served, POLLIN, 0}}};
        if (poll(ready.data(), ready.size(), static_cast<int>(limit.count())) <= 0) return false;
        if (ready[0].revents != 0) return true;
        own->ServeOne();
        return false;
    }

    SocketFolder folder_;
    std::int32_t number_;
    Clock::time_point deadline_ = Clock::now() + kPatience;
    Descriptor peer_{NewMessageSocket()};
};

}  // namespace

std::int32_t SendToProcess(std::int32_t number, const WindowMessage& message) {
    try {
        return Sending(number).Send(message);
    } catch (const RunTimeError&) {
        return 0;
    }
}

}  // namespace pellago
