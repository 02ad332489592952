#include "measured_program.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

namespace pellago::bench {
namespace {

double Seconds(timeval time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

MeasuredProgram::MeasuredProgram(const std::string& path, std::vector<std::string> arguments)
    : path_(path), start_(std::chrono::steady_clock::now()) {
    arguments.insert(arguments.begin(), path);
    std::vector<char*> argv;
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    process_ = fork();
    if (process_ < 0) throw std::runtime_error("no process for " + path);
    if (process_ > 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execv(path.c_str(), argv.data());
    _exit(127);
}

MeasuredProgram::~MeasuredProgram() {
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

bool MeasuredProgram::HasEnded() const {
    siginfo_t ended{};
    return waitid(P_PID, static_cast<id_t>(process_), &ended, WEXITED | WNOHANG | WNOWAIT) != 0 ||
           ended.si_pid == process_;
}

Cost MeasuredProgram::Wait(int expected_status) {
    int status = 0;
    rusage usage{};
    wait4(std::exchange(process_, -1), &status, 0, &usage);
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start_;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != expected_status)
        throw std::runtime_error(path_ + " ended with wait status " + std::to_string(status));
    return {Seconds(usage.ru_utime) + Seconds(usage.ru_stime), wall.count(),
            static_cast<double>(usage.ru_maxrss) / 1024, start_};
}

}  // namespace pellago::bench
