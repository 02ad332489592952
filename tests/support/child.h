#pragma once

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <functional>
#include <utility>

namespace pellago::test {

/// Runs `action` in a process of its own, which ends with it, or is killed with the object.
class Child final {
public:
    explicit Child(const std::function<void()>& action) : id_(fork()) {
        if (id_ != 0) return;
        try {
            action();
        } catch (const std::exception&) {
            _exit(1);
        }
        _exit(0);
    }
    ~Child() {
        if (id_ <= 0) return;
        Signal(SIGKILL);
        Wait();
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void Signal(int signal) const { kill(id_, signal); }

    /// The exit status; minus the signal's number when one ended it.
    int Wait() {
        int status = 0;
        waitpid(std::exchange(id_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t id_;
};

}  // namespace pellago::test
