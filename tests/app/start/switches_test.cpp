#include "app/start/switches.h"

#include <gmock/gmock.h>

#include "app/shared/globals.h"
#include "infra/errors_to_file.h"
#include "infra/process_objects.h"

namespace pellago {
namespace {

using Arguments = std::vector<std::string>;

struct Row {
    Arguments arguments;
    std::string flags;    ///< that are then set, or differ from -1
    std::string unknown;  ///< names that stderr tells of, for themselves or for their values
};

std::string Flags() {
    std::string flags;
    const auto add = [&](bool set, const std::string& name) {
        if (set) flags += (flags.empty() ? "" : " ") + name;
    };
    add(gShowMainWindow, "show");
    add(gCloseRequested, "close");
    add(gUpdateRequested, "update");
    add(gProviderID != -1, "provider=" + std::to_string(gProviderID));
    add(gChannelID != -1, "channel=" + std::to_string(gChannelID));
    add(gErrorHandler->TracingEnabled(), "trace");
    add(gErrorsToFile, "errors");
    return flags;
}

/// After a start that asked for everything else, which must be forgotten.
std::string FlagsAfter(const Arguments& arguments, bool show) {
    CreateProcessObjects();
    gCloseRequested = gUpdateRequested = true;
    gProviderID = gChannelID = 7;
    gErrorsToFile = false;
    gShowMainWindow = show;
    ReadSwitches(arguments);
    return Flags();
}

TEST(Switches, SetTheirFlagsAndPassOverWhatDoesNotConvertOrIsNone) {
    const std::vector<Row> rows = {
        {{}, "show", ""},
        {{"", " "}, "show", ""},
        {{"--close"}, "show close", ""},
        {{"/CLOSE"}, "show close", ""},
        {{"/ Close "}, "show close", ""},
        {{"--update", "--Provider = 5", "/channel=0x", "/trace=1"}, "update provider=5 trace", "channel"},
        {{"/update/background=False"}, "show update", ""},
        {{"/background"}, "", ""},
        {{"--background"}, "", ""},
        {{"/BackGround "}, "", ""},
        {{"--background=true"}, "", ""},
        {{"/background=2"}, "", ""},
        {{"/background=maybe"}, "show", "background"},
        {{"/provider=abc"}, "", "provider"},
        {{"--provider"}, "", "provider"},
        {{"/provider=0"}, "provider=0", ""},
        {{"/provider=-3"}, "provider=-3", ""},
        {{"/provider=2147483648", "/channel= 12 "}, "channel=12", "provider"},
        {{"/channel=3", "/channel=4", "/background=0"}, "show channel=3", ""},
        {{"/trace"}, "show", "trace"},
        {{"/trace=0"}, "show", ""},
        {{"/trace=maybe", "/errorstofile"}, "show", "trace errorstofile"},
        {{"--errorstofile=true", "/trace=TRUE"}, "show trace errors", ""},
        {{"now", "--colour=red", "/update"}, "show update", "now colour"},
    };
    for (const auto& row : rows) {
        testing::internal::CaptureStderr();
        const auto flags = FlagsAfter(row.arguments, true);
        const auto told = testing::internal::GetCapturedStderr();
        EXPECT_EQ(flags, row.flags) << testing::PrintToString(row.arguments);
        std::string unknown;
        for (std::size_t end = 0, at = told.find('"'); at != std::string::npos;
             at = told.find('"', end + 1)) {
            end = told.find('"', at + 1);
            unknown += (unknown.empty() ? "" : " ") + told.substr(at + 1, end - at - 1);
        }
        EXPECT_EQ(unknown, row.unknown) << told;
    }
    EXPECT_EQ(FlagsAfter({"/background=false"}, false), "show") << "although the settings say otherwise";
    EXPECT_EQ(FlagsAfter({"/background=maybe"}, false), "");
    gErrorsToFile = gCloseRequested = gUpdateRequested = false;
    gProviderID = gChannelID = -1;
    CreateProcessObjects();
}

}  // namespace
}  // namespace pellago
