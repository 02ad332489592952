#include <gmock/gmock.h>

#include <cstdlib>

#include "platform/loop/message_loop.h"

// The main of test programs whose subjects need the message loop.
int main(int argc, char** argv) {
    // The tests talk to their own server on loopback, never through this machine's proxy.
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
        unsetenv(name);
    testing::InitGoogleMock(&argc, argv);
    const pellago::MessageLoop loop;
    return RUN_ALL_TESTS();
}
