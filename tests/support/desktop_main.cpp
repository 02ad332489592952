#include <gmock/gmock.h>

#include "desktop/application.h"

// The main of test programs with windows. They can be listed where there is no display.
int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    const pellago::Application application;
    return RUN_ALL_TESTS();
}
