#pragma once

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <exception>
#include <functional>
#include <stdexcept>
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

    bool HasEnded() const {
        siginfo_t ended{};
        return id_ <= 0 || (waitid(P_PID, static_cast<id_t>(id_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                            ended.si_pid == id_);
    }

    /// The exit status; minus the signal's number when one ended it.
    int Wait() {
        int status = 0;
        waitpid(std::exchange(id_, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t id_;
};

/// Bytes from one process to another.
class Pipe final {
public:
    Pipe() {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    }
    ~Pipe() {
        close(ends_[0]);
        CloseWriting();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int Writing() const { return ends_[1]; }
    void CloseWriting() { close(std::exchange(ends_[1], -1)); }

    template <class Value>
    void Put(const Value& value) const {
        if (write(ends_[1], &value, sizeof value) != sizeof value) throw std::runtime_error("pipe is closed");
    }
    template <class Value>
    Value Get() const {
        Value value{};
        if (read(ends_[0], &value, sizeof value) != sizeof value) throw std::runtime_error("pipe is empty");
        return value;
    }

private:
    std::array<int, 2> ends_{};
};

}  // namespace pellago::test
