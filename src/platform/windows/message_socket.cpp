#include "message_socket.h"

#include <fcntl.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "platform/files/program.h"
#include "platform/files/runtime_folder.h"

namespace pellago {
namespace {

constexpr std::string_view kFilePrefix = "messages-";

std::string NameOf(std::int32_t number) { return std::string(kFilePrefix) + std::to_string(number); }

/// Calls bind or connect for the socket `name` in a folder: 0, or an errno value. An address holds 107
/// characters, which a folder's path may exceed, so the folder is named by its descriptor.
template <class Call>
int WithAddress(Call call, int socket, const Descriptor& folder, const std::string& name) {
    const auto path = "/proc/self/fd/" + std::to_string(folder.Get()) + "/" + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return ENAMETOOLONG;
    std::ranges::copy(path, std::begin(address.sun_path));
    // The socket interface takes addresses of every kind through this type.
    const auto* any = reinterpret_cast<const sockaddr*>(&address);
    return call(socket, any, static_cast<socklen_t>(sizeof address)) == 0 ? 0 : errno;
}

}  // namespace

int NewMessageSocket() { return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

SocketFolder::SocketFolder()
    : path_(RuntimeFolder()), descriptor_(open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {}

std::string SocketFolder::PathOf(std::int32_t number) const { return JoinPath(path_, NameOf(number)); }

int SocketFolder::Bind(int socket, std::int32_t number) const {
    return WithAddress(bind, socket, descriptor_, NameOf(number));
}

int SocketFolder::Connect(int socket, std::int32_t number) const {
    return WithAddress(connect, socket, descriptor_, NameOf(number));
}

void SocketFolder::RemoveStaleSockets() const {
    std::error_code failure;
    for (const auto& entry : std::filesystem::directory_iterator(path_, failure)) {
        const auto name = entry.path().filename().string();
        if (!name.starts_with(kFilePrefix) || !entry.is_socket(failure)) continue;
        const Descriptor probe(NewMessageSocket());
        if (WithAddress(connect, probe.Get(), descriptor_, name) == ECONNREFUSED)
            unlink(entry.path().c_str());
    }
}

bool PeerIsSameUser(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == geteuid();
}

}  // namespace pellago
