#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string_view>

#include "cli/output.h"
#include "cli/program.h"
#include "infra/process_objects.h"
#include "platform/loop/message_loop.h"

namespace {

using namespace std::string_view_literals;
using pellago::cli::Complain;
using pellago::cli::ExitStatus;

bool MovesItsCursor(int descriptor) {
    const char* kind = std::getenv("TERM");
    return isatty(descriptor) == 1 && kind && *kind && kind != "dumb"sv;
}

// A reader that has seen enough is no failure; data that is lost otherwise is one.
ExitStatus AfterOutput(const pellago::cli::Context& context, const pellago::cli::Output& out,
                       ExitStatus status) {
    if (out.Error() == 0 || out.Error() == EPIPE || status == ExitStatus::kStopped) return status;
    Complain(context, std::string("the output cannot be written: ") + std::strerror(out.Error()));
    return ExitStatus::kNotWritable;
}

}  // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN);
    const pellago::MessageLoop loop;
    pellago::CreateProcessObjects();
    pellago::cli::Output out(STDOUT_FILENO);
    const pellago::cli::Context context{out, std::cerr, MovesItsCursor(STDOUT_FILENO), {}};
    const auto status = pellago::cli::RunProgram({argv + 1, argv + argc}, context);
    out.flush();
    return static_cast<int>(AfterOutput(context, out, status));
}
