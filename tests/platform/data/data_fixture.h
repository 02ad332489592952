#pragma once

#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/data/command.h"
#include "platform/data/connection.h"
#include "platform/data/recordset.h"
#include "support/support.h"

namespace pellago::test {

/// A database file of its own and a connection to it.
class ADatabase : public testing::Test {
protected:
    ADatabase() {
        WriteFile(path, "");
        connection->Execute(
            "CREATE TABLE Cars (ID INTEGER PRIMARY KEY, Name TEXT, Built DATETIME, Sold BOOLEAN DEFAULT 0"
            " CHECK (Sold IN (0, 1)), Maker INTEGER, Note TEXT DEFAULT 'none');"
            "CREATE INDEX CarsMaker ON Cars (Maker);"
            "INSERT INTO Cars (Name, Built, Sold, Maker) VALUES"
            " ('Ant', '2001-02-03 04:05:06', 1, 7), ('Bee', NULL, 0, 7), ('Cat', 'soon', 1, 8)");
    }

    std::shared_ptr<Connection> Connect() const {
        auto made = std::make_shared<Connection>();
        made->DataSource(path);
        return made;
    }

    TempDir folder;
    const std::string path = folder / "cars.db";
    const std::shared_ptr<Connection> connection = Connect();
};

/// The number and the text of the RunTimeError that `action` ends with, 0 when it ends with none.
struct Thrown {
    std::int32_t number = 0;
    std::string text;
};
template <class Action>
Thrown ThrownBy(Action&& action) {
    try {
        action();
    } catch (const RunTimeError& error) {
        return {error.Number(), error.Description()};
    }
    return {};
}

/// Runs `action` in a process of its own, which ends with it. True when it threw nothing.
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
