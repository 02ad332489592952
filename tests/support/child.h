#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <functional>

namespace pellago::test {

/// Runs `action` in a process of its own, which ends with it.
class Child final {
public:
    explicit Child(const std::function<void()>& action) : process_(fork()) {
        if (process_ != 0) return;
        try {
            action();
        } catch (const std::exception&) {
            _exit(1);
        }
        _exit(0);
    }
    bool Succeeded() {
        int status = 0;
        return waitpid(process_, &status, 0) == process_ && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    }

private:
    pid_t process_;
};

}  // namespace pellago::test
