#include "program_start.h"

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

namespace pellago {
namespace {

/// The attributes that a new program is started with.
class StartAttributes final {
public:
    explicit StartAttributes(const std::string& directory) {
        posix_spawnattr_init(&attributes_);
        posix_spawn_file_actions_init(&actions_);
        sigset_t signals;
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes_, &signals);
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes_, &signals);
        posix_spawnattr_setflags(&attributes_,
                                 POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        if (error_ == 0 && !directory.empty())
            error_ = posix_spawn_file_actions_addchdir_np(&actions_, directory.c_str());
        if (error_ == 0) error_ = posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    }
    ~StartAttributes() {
        posix_spawn_file_actions_destroy(&actions_);
        posix_spawnattr_destroy(&attributes_);
    }
    StartAttributes(const StartAttributes&) = delete;
    StartAttributes& operator=(const StartAttributes&) = delete;

    /// The errno of the start, 0 when it succeeded, and the new process's id.
    std::pair<int, pid_t> Spawn(const std::vector<std::string>& command) const {
        if (error_ != 0) return {error_, 0};
        std::vector<char*> arguments;
        arguments.reserve(command.size() + 1);
        for (const auto& each : command) arguments.push_back(const_cast<char*>(each.c_str()));
        arguments.push_back(nullptr);
        pid_t id = 0;
        const int error = posix_spawn(&id, arguments[0], &actions_, &attributes_, arguments.data(), environ);
        return {error, id};
    }

private:
    posix_spawnattr_t attributes_{};
    posix_spawn_file_actions_t actions_{};
    int error_ = 0;
};

int WaitFor(pid_t id) {
    int status = 0;
    while (waitpid(id, &status, 0) < 0)
        // Where the process ignores its children's ends, nobody learns their exit codes.
        if (errno != EINTR) return 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Threads that are made while this lives get no signals: those are for the thread of the message loop.
class WithoutSignals final {
public:
    WithoutSignals() {
        sigset_t signals;
        sigfillset(&signals);
        pthread_sigmask(SIG_SETMASK, &signals, &before_);
    }
    ~WithoutSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    WithoutSignals(const WithoutSignals&) = delete;
    WithoutSignals& operator=(const WithoutSignals&) = delete;

private:
    sigset_t before_{};
};

}  // namespace

StartedProgram StartProgram(const std::vector<std::string>& command, const std::string& directory) {
    std::promise<int> start;
    std::promise<int> end;
    auto error = start.get_future();
    auto exit_code = end.get_future();
    try {
        const WithoutSignals quiet;
        std::thread([command, directory, start = std::move(start), end = std::move(end)]() mutable {
            const auto [failure, id] = StartAttributes(directory).Spawn(command);
            start.set_value(failure);
            if (failure == 0) end.set_value(WaitFor(id));
        }).detach();
    } catch (const std::system_error& failure) {
        return {failure.code().value(), {}};
    }
    return {error.get(), std::move(exit_code)};
}

}  // namespace pellago
