#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/data/connection.h"
#include "platform/data/sqlite_database.h"

namespace pellago {

struct Connection::State {
    std::string data_source;
    std::function<void()> will_connect;
    std::function<void()> connected;
    std::function<void(std::string_view)> on_statement;
    std::function<void(const ErrorInfo&)> on_failure;
    std::vector<ErrorInfo> errors;
    std::shared_ptr<data::Database> database;  ///< null while closed
    std::int32_t write_timer = 0;              ///< runs exactly while the write lock is held
    std::optional<RunTimeError> lost_batch;    ///< why a batch is no more that its owner has not committed

    /// The statement of that text, prepared once while the connection is open.
    data::Statement& Prepared(const std::string& sql);
    std::vector<data::Row> Run(data::Statement& statement, const std::vector<Variant>& values);
    std::vector<data::Row> Run(const std::string& sql, const std::vector<Variant>& values = {}) {
        return Run(Prepared(sql), values);
    }
    void RunAll(std::string_view sql);
    void Commit();
    void CommitLate();
    void Rollback();
    void EndBatch();

    /// Runs `action` and remembers its failure among the errors.
    template <class Action>
    decltype(auto) Recording(Action&& action);
    /// To be called inside a catch block; throws the failure on as a RunTimeError.
    [[noreturn]] void RecordFailure();
};

template <class Action>
decltype(auto) Connection::State::Recording(Action&& action) {
    try {
        return action();
    } catch (const std::exception&) {
        RecordFailure();
    }
}

}  // namespace pellago
