#include "cli/program.h"

#include <exception>

#include "command_line.h"
#include "infra/errors_to_file.h"
#include "infra/process_objects.h"

namespace pellago::cli {
namespace {

ExitStatus RunVerb(const CommandLine& command_line, const Context& context) {
    try {
        return command_line.verb(context);
    } catch (const Failure& failure) {
        Complain(context, failure.what());
        return failure.Status();
    } catch (const RunTimeError& error) {
        Complain(context, error.Description());
        return StatusOf(error.Number());
    } catch (const std::exception& error) {
        Complain(context, error.what());
        return ExitStatus::kSomeFailed;
    }
}

}  // namespace

ExitStatus RunProgram(std::vector<std::string> arguments, Context context) {
    const auto parsed = ParseCommandLine(std::move(arguments), context);
    if (const auto* ended = std::get_if<ExitStatus>(&parsed)) return *ended;
    const auto& command_line = std::get<CommandLine>(parsed);
    context.database = command_line.database;
    gErrorHandler->TracingEnabled(command_line.trace);
    gErrorsToFile = command_line.errors_to_file;
    return RunVerb(command_line, context);
}

}  // namespace pellago::cli
