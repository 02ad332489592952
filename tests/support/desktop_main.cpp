#include <gmock/gmock.h>

#include <cstdlib>

#include "desktop/application.h"

// The main of test programs with windows: real ones, on a platform without a screen unless another is named.
int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    testing::InitGoogleMock(&argc, argv);
    const pellago::Application application;
    return RUN_ALL_TESTS();
}
