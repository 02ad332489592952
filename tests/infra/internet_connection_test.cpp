#include "infra/internet_connection.h"

#include <gmock/gmock.h>

#include "platform/files/program.h"
#include "platform/net/internet_state.h"
#include "platform/registry/registry.h"
#include "support/support.h"
#include "support/thrown.h"

namespace pellago {
namespace {

using test::Thrown;
using test::ThrownBy;

Thrown Expected(std::uint32_t number, const std::string& description) {
    return {static_cast<std::int32_t>(number), description, ProgramName() + ".CInternetConnection"};
}

class AnInternetConnection : public testing::Test {
protected:
    ~AnInternetConnection() override { ReplaceInternetState({}); }

    test::TempDir folder_;
    test::EnvVar config_home_{"XDG_CONFIG_HOME", folder_.Path().string()};
    test::EnvVar stand_in_{"PELLAGO_CONNECTION", "lan"};
    CInternetConnection connection_;
};

TEST_F(AnInternetConnection, IsOfTheFirstTypeThatApplies) {
    for (const auto& [flags, type] : {std::pair{0x07U, 1}, {0x36U, 2}, {0x04U, 3}, {0x30U, 4}, {0U, 4}}) {
        ReplaceInternetState([flags = flags] { return InternetState{flags != 0, flags, "net"}; });
        EXPECT_EQ(connection_.ConnectionType(), type) << flags;
        EXPECT_EQ(connection_.Connected(), flags != 0);
        EXPECT_EQ(connection_.RasInstalled(), (flags & 0x10) != 0);
        EXPECT_EQ(connection_.WorkMode(), (flags & 0x20) != 0 ? 1 : 2);
        EXPECT_EQ(connection_.ConnectionName(), "net");
    }
}

TEST_F(AnInternetConnection, IsWhatTheEnvironmentSays) {
    for (const auto& [value, connected, can_dial, type] : {std::tuple{"none", false, false, 4},
                                                           {"modem", true, true, 1},
                                                           {"lan", true, false, 2},
                                                           {"proxy", true, false, 3}}) {
        const test::EnvVar stand_in("PELLAGO_CONNECTION", value);
        EXPECT_EQ(connection_.Connected(), connected) << value;
        EXPECT_EQ(connection_.RasInstalled(), can_dial) << value;
        EXPECT_EQ(connection_.ConnectionType(), type) << value;
        EXPECT_EQ(connection_.ConnectionName(), "");
    }
}

TEST_F(AnInternetConnection, IsSwitchedOffAndOnForAllProgramsOfTheUser) {
    const CInternetConnection other;
    EXPECT_EQ(other.WorkMode(), 2);
    connection_.WorkMode(1);
    EXPECT_EQ(other.WorkMode(), 1);
    EXPECT_FALSE(other.Connected());
    EXPECT_EQ(other.ConnectionType(), 2);
    for (const auto mode : {0, 3, -1})
        EXPECT_EQ(ThrownBy([&] { connection_.WorkMode(mode); }), Expected(0x80044525, "Invalid work mode"));
    EXPECT_EQ(other.WorkMode(), 1);
    connection_.WorkMode(2);
    EXPECT_TRUE(other.Connected());
    EXPECT_EQ(
        RegQueryValueEx(HKEY_CURRENT_USER, "Software\\Quenlith\\Internet Settings", "GlobalUserOffline"),
        RegistryValue::FromNumber(0));
}

TEST_F(AnInternetConnection, TellsASwitchThatFailsFromWhatItDidNotExpect) {
    {
        const test::EnvVar no_folder("XDG_CONFIG_HOME", "/dev/null");
        EXPECT_EQ(ThrownBy([&] { connection_.WorkMode(1); }),
                  Expected(0x80044526, "Cannot set the Internet option"));
        EXPECT_EQ(connection_.WorkMode(), 2);
    }
    ReplaceInternetState([]() -> InternetState { throw std::runtime_error("no answer"); });
    EXPECT_EQ(ThrownBy([&] { connection_.Connected(); }),
              Expected(0x80044527, "CInternetConnection component failure"));
}

}  // namespace
}  // namespace pellago
