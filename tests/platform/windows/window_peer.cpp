#include "window_peer.h"

#include <iostream>

#include "platform/loop/message_loop.h"
#include "platform/windows/named_mutex.h"
#include "platform/windows/window_messages.h"

// A process with a window and the mutex "peer". It writes the window's handle and runs until it is killed.
namespace {

using pellago::SendMessage;
using pellago::test::kAddOne;

std::int32_t right_ones = 0;

void SendMany(std::int32_t count, std::int32_t window) {
    for (std::int32_t n = 0; n < count; ++n)
        if (SendMessage(window, kAddOne, n, 0) == n + 1) ++right_ones;
}

std::int32_t Procedure(std::int32_t, std::int32_t uMsg, std::int32_t wParam, std::int32_t lParam) {
    switch (uMsg) {
        case kAddOne:
            return wParam + 1;
        case pellago::test::kSendBack:
            return SendMessage(lParam, kAddOne, wParam, 0) + 1000;
        case pellago::test::kSendMany:
            pellago::CallLater([=] { SendMany(wParam, lParam); });
            return 0;
        case pellago::test::kRightOnes:
            return right_ones;
        default:
            return 0;
    }
}

}  // namespace

int main() {
    const pellago::MessageLoop loop;
    const pellago::NamedMutex mutex("peer");
    const auto window = pellago::CreateWindowHandle(Procedure);
    std::cout.write(reinterpret_cast<const char*>(&window), sizeof window).flush();
    for (;;) pellago::WaitForEvents();
}
