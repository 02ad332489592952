#pragma once

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/files/descriptor.h"

// The sockets that windows of other processes are reached by.
namespace pellago {

/// A new socket of the kind that messages take, as a descriptor; -1 when there is none to be had.
int NewMessageSocket();

/// The folder in which every process with windows has a socket, named after the process's number.
class SocketFolder final {
public:
    /// In the runtime folder; throws RunTimeError as that does.
    SocketFolder();

    const std::string& Path() const { return path_; }
    std::string PathOf(std::int32_t number) const;

    /// Gives `socket` the name of the process `number`, or connects it with that process: 0, or an errno
    /// value.
    int Bind(int socket, std::int32_t number) const;
    int Connect(int socket, std::int32_t number) const;

    /// Removes what killed processes have left behind. Only under a lock that those who bind hold too, since
    /// a socket that does not listen yet refuses connections like a dead one.
    void RemoveStaleSockets() const;

private:
    std::string path_;
    Descriptor descriptor_;
};

/// Whether the process at the other end runs for the same user as this one.
bool PeerIsSameUser(int socket);

template <class Packet>
bool SendPacket(int socket, const Packet& packet) {
    return send(socket, &packet, sizeof packet, MSG_DONTWAIT | MSG_NOSIGNAL) == sizeof packet;
}

/// Nothing when no packet has arrived, or one of another size.
template <class Packet>
std::optional<Packet> ReceivePacket(int socket) {
    Packet packet{};
    const auto size = recv(socket, &packet, sizeof packet, MSG_DONTWAIT | MSG_TRUNC);
    return size == sizeof packet ? std::optional(packet) : std::nullopt;
}

}  // namespace pellago
