#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace pellago {

struct WindowMessage {
    std::int32_t hwnd;
    std::int32_t uMsg;
    std::int32_t wParam;
    std::int32_t lParam;
};

/// Where messages from other processes of the same user arrive: a socket in the runtime folder, named by a
/// number that no other living process has, and read by the message loop. It closes with the application
/// object. A process has one at most.
class MessageChannel final {
public:
    using Receiver = std::function<std::int32_t(const WindowMessage&)>;

    /// `receiver` answers the messages that arrive; it must not throw, and may destroy the channel. Throws
    /// RunTimeError where there is no message loop or no usable runtime folder.
    explicit MessageChannel(Receiver receiver);
    ~MessageChannel();
    MessageChannel(const MessageChannel&) = delete;
    MessageChannel& operator=(const MessageChannel&) = delete;

    std::int32_t Number() const;
    /// Accepts one client, or answers the message of one, where there is any.
    void Serve() const;

    struct State;

private:
    std::shared_ptr<State> state_;
};

/// A number such as a channel has, for a process that has no channel.
std::int32_t RandomProcessNumber();

/// Sends to the channel of another process and returns its answer; meanwhile this process's own channel is
/// served. 0 at once when there is no such channel, and after 5 seconds without an answer.
std::int32_t SendToProcess(std::int32_t number, const WindowMessage& message);

}  // namespace pellago
