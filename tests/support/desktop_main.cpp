#include <gmock/gmock.h>

#include "desktop/application.h"

// The main of test programs with windows.
int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const pellago::Application application;
    return RUN_ALL_TESTS();
}
