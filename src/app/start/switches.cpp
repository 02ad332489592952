#include "app/start/switches.h"

#include <iostream>

#include "app/shared/globals.h"
#include "app/start/command_args.h"
#include "infra/errors_to_file.h"
#include "infra/guarded_routine.h"
#include "infra/process_objects.h"
#include "platform/values/terminal_text.h"
#include "platform/values/text.h"

namespace pellago {
namespace {

constexpr std::int32_t kNameAndValue = 2;
constexpr const char* kDelimiter = "/";
constexpr const char* kLongOption = "--";

/// The arguments as one line in the notation that CCommandArgs parses: "--name=value" becomes "/name=value".
std::string CommandLine(const std::vector<std::string>& arguments) {
    std::string line;
    for (const auto& argument : arguments) {
        line += line.empty() ? "" : " ";
        line += argument.starts_with(kLongOption) ? kDelimiter + argument.substr(2) : argument;
    }
    return line;
}

/// `value` is `name` where the switch has no value.
void Background(const std::string& name, const std::string& value) {
    gShowMainWindow = name != LCase(Trim(value)) && !BooleanFromText(value);
}

void Act(Statements& run, const std::string& name, const std::string& value) {
    if (name == "close") {
        gCloseRequested = true;
    } else if (name == "background") {
        run([&] { Background(name, value); });
    } else if (name == "update") {
        gUpdateRequested = true;
    } else if (name == "provider") {
        gShowMainWindow = false;
        run([&] { gProviderID = LongFromText(value); });
    } else if (name == "channel") {
        gShowMainWindow = false;
        run([&] { gChannelID = LongFromText(value); });
    } else if (name == "trace") {
        run([&] {
            if (BooleanFromText(value)) gErrorHandler->TracingEnabled(true);
        });
    } else if (name == "errorstofile") {
        run([&] { gErrorsToFile = BooleanFromText(value); });
    } else {
        std::cerr << "pellagod: \"" << TerminalText(name)
                  << "\" is not known and passed over; see pellagod --help\n";
    }
}

}  // namespace

const char* const kUsage =
    R"(pellagod: downloads news in the background, from the notification area of the desktop

Usage: pellagod [SWITCH …]    each as --name or /name, with a value as --name=value or /name=value

  --update               start a run over all providers
  --provider=ID          start a run over one provider
  --channel=ID           start a run over one channel
  --background[=true|false]
                         start without (or with) the window
  --close                end the instance that is running
  --trace=true           write "Tracing Log.txt"
  --errorstofile=true    write feed dates that fail and errors of runs to "ErrorsLog.txt"
  --help, --version

There is one instance only: a second start hands over what it was asked for, and ends.
)";

void ReadSwitches(const std::vector<std::string>& arguments) {
    std::string name;
    const auto tell_and_go_on = [&] {
        std::cerr << "pellagod: the value of \"" << TerminalText(name)
                  << "\" is passed over: " << Err().description << '\n';
        return Decision::kIgnore;
    };
    RunStatements(tell_and_go_on, [&](Statements& run) {
        gCloseRequested = false;
        gProviderID = -1;
        gChannelID = -1;
        gUpdateRequested = false;
        const auto line = CommandLine(arguments);
        // Given no text, CCommandArgs would take the process's command line, which in a test is the test's
        // own.
        if (Trim(line).empty()) return;
        CCommandArgs parsed;
        run([&] { parsed.Init(line, kNameAndValue, kDelimiter, "="); });
        for (std::int16_t index = 1; index <= parsed.Count(); ++index) {
            name = LCase(Trim(parsed.Name(index)));
            Act(run, name, parsed.Value(Variant(std::int32_t{index})));
        }
    });
}

}  // namespace pellago
