#include "message_channel.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <list>
#include <random>
#include <string>
#include <system_error>
#include <utility>

#include "platform/files/descriptor.h"
#include "platform/files/file_lock.h"
#include "platform/files/program.h"
#include "platform/files/runtime_folder.h"
#include "platform/loop/long_wait.h"
#include "platform/values/run_time_error.h"

namespace pellago {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kPatience = 5s;
/// After so long it is asked whether to go on waiting.
constexpr std::chrono::milliseconds kStep = 25ms;
constexpr std::string_view kFilePrefix = "messages-";
/// Connections that the kernel keeps for a process that does not accept them.
constexpr int kBacklog = 64;
/// Clients that have connected and sent nothing yet; beyond that the one that is silent longest is dropped.
constexpr std::size_t kMostSilent = 64;

std::string NameOf(std::int32_t number) { return std::string(kFilePrefix) + std::to_string(number); }

int NewSocket() { return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

/// The folder of the sockets. Their names may be 107 characters long and no more, so it is named by a
/// descriptor.
class SocketFolder final {
public:
    explicit SocketFolder(std::string path)
        : path_(std::move(path)), descriptor_(open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

    const std::string& Path() const { return path_; }

    /// Calls bind or connect for the socket `name`: 0, or an errno value.
    template <class Call>
    int Address(Call call, int socket, const std::string& name) const {
        const auto path = "/proc/self/fd/" + std::to_string(descriptor_.Get()) + "/" + name;
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (path.size() >= sizeof address.sun_path) return ENAMETOOLONG;
        std::ranges::copy(path, std::begin(address.sun_path));
        // The socket interface takes addresses of every kind through this type.
        const auto* any = reinterpret_cast<const sockaddr*>(&address);
        return call(socket, any, static_cast<socklen_t>(sizeof address)) == 0 ? 0 : errno;
    }

private:
    std::string path_;
    Descriptor descriptor_;
};

bool PeerIsSameUser(int descriptor) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

template <class Packet>
bool SendPacket(int descriptor, const Packet& packet) {
    return send(descriptor, &packet, sizeof packet, MSG_DONTWAIT | MSG_NOSIGNAL) == sizeof packet;
}

/// Nothing when there is none, or one of another size.
template <class Packet>
std::optional<Packet> ReceivePacket(int descriptor) {
    Packet packet{};
    const auto size = recv(descriptor, &packet, sizeof packet, MSG_DONTWAIT | MSG_TRUNC);
    return size == sizeof packet ? std::optional(packet) : std::nullopt;
}

/// What killed processes left behind. Under the lock, since a socket that does not listen yet refuses too.
void RemoveStaleSockets(const SocketFolder& folder) {
    std::error_code failure;
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path(), failure)) {
        const auto name = entry.path().filename().string();
        if (!name.starts_with(kFilePrefix) || !entry.is_socket(failure)) continue;
        const Descriptor probe(NewSocket());
        if (folder.Address(connect, probe.Get(), name) == ECONNREFUSED) unlink(entry.path().c_str());
    }
}

[[noreturn]] void Raise(const std::string& what, int error) {
    throw RunTimeError(error_number::kFileAccess, "", what + ": " + std::generic_category().message(error));
}

}  // namespace

struct MessageChannel::State {
    std::int32_t number = 0;
    Receiver receiver;
    std::string file;
    UnsharedDescriptor listener{NewSocket()};
    UnsharedDescriptor events{epoll_create1(EPOLL_CLOEXEC)};  ///< the listener and the clients
    std::list<UnsharedDescriptor> clients;
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
    const SocketFolder folder(RuntimeFolder());
    const FileLock lock(JoinPath(folder.Path(), "messages.lock"), kPatience);
    if (!lock.IsHeld()) Raise(folder.Path() + " cannot be locked", lock.Error());
    RemoveStaleSockets(folder);
    int error = EADDRINUSE;
    while (error == EADDRINUSE) {
        number = RandomProcessNumber();
        error = folder.Address(bind, listener.Get(), NameOf(number));
    }
    if (error != 0) Raise("No socket can be made in " + folder.Path(), error);
    file = JoinPath(folder.Path(), NameOf(number));
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
    // The file of a forked child is its parent's.
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
    const auto found = std::ranges::find(clients, descriptor, &UnsharedDescriptor::Get);
    if (found == clients.end()) return;
    // Taken out, so that the procedure may do anything, also destroy the channel.
    std::list<UnsharedDescriptor> client;
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
    // Held on to, since what is served may destroy the channel.
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
    explicit Sending(std::int32_t number) : name_(NameOf(number)) {}

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

    /// The queue of a process that does not accept may be full.
    bool Connect() {
        constexpr auto kInterval = 5ms;
        for (;;) {
            const int error = folder_.Address(connect, peer_.Get(), name_);
            if (error != EAGAIN && error != EINTR) return error == 0;
            if (Remaining() == 0ms) return false;
            HasAnswer(-1, kInterval);
        }
    }

    /// Waits for an answer or the end of `peer`, and serves one message that arrives before it. False when
    /// there was none, or only that message.
    static bool HasAnswer(int peer, std::chrono::milliseconds limit) {
        const auto own = Current().lock();
        const int served = own && own->IsOpen() ? own->events.Get() : -1;
        std::array<pollfd, 2> ready{{{peer, POLLIN, 0}, {served, POLLIN, 0}}};
        if (poll(ready.data(), ready.size(), static_cast<int>(limit.count())) <= 0) return false;
        if (ready[0].revents != 0) return true;
        own->ServeOne();
        return false;
    }

    SocketFolder folder_{RuntimeFolder()};
    std::string name_;
    Clock::time_point deadline_ = Clock::now() + kPatience;
    UnsharedDescriptor peer_{NewSocket()};
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
