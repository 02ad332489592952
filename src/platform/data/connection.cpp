#include "platform/data/connection.h"

#include <utility>

#include "connection_impl.h"
#include "platform/loop/thread_timer.h"
#include "sqlite_error.h"

namespace pellago {
namespace {

constexpr std::int32_t kLongestBatch = 100;  // milliseconds

}  // namespace

data::Statement& Connection::State::Prepared(const std::string& sql) {
    return Recording([&]() -> data::Statement& { return database->Prepared(sql); });
}

std::vector<data::Row> Connection::State::Run(data::Statement& statement,
                                              const std::vector<Variant>& values) {
    return Recording([&] {
        if (on_statement) on_statement(statement.Sql());
        return database->Run(statement, values);
    });
}

void Connection::State::RunAll(std::string_view sql) {
    const auto take = [&] { return Recording([&] { return database->TakeStatement(sql); }); };
    while (const auto statement = take()) Run(*statement, {});
}

void Connection::State::RecordFailure() {
    auto error = CurrentError();
    // A full disk, for one, makes the library roll back all that the transaction held.
    if (write_timer != 0 && !database->InTransaction()) {
        EndBatch();
        error.description += (error.description.ends_with('.') ? " " : ". ");
        error.description += "What was not yet committed is lost.";
        lost_batch = RunTimeError(error.number, error.source, error.description);
    }
    errors.push_back(error);
    if (on_failure) on_failure(error);
    throw RunTimeError(error.number, error.source, error.description);
}

void Connection::State::EndBatch() { KillTimer(std::exchange(write_timer, 0)); }

void Connection::State::Commit() {
    Run("COMMIT");
    EndBatch();
}

void Connection::State::CommitLate() {
    try {
        Commit();
    } catch (const RunTimeError& error) {
        Rollback();
        lost_batch = error;
    }
}

void Connection::State::Rollback() {
    database->Rollback();
    EndBatch();
}

Connection::Connection() : state_(std::make_unique<State>()) {}

Connection::~Connection() {
    if (HoldsWrites()) state_->CommitLate();
}

const std::string& Connection::DataSource() const { return state_->data_source; }
void Connection::DataSource(std::string path) { state_->data_source = std::move(path); }

void Connection::OnWillConnect(std::function<void()> handler) { state_->will_connect = std::move(handler); }
void Connection::OnConnected(std::function<void()> handler) { state_->connected = std::move(handler); }
void Connection::OnStatement(std::function<void(std::string_view sql)> hook) {
    state_->on_statement = std::move(hook);
}

void Connection::Open() {
    if (IsOpen()) return;
    if (state_->will_connect) state_->will_connect();
    // The handler may have shown a dialog, and so let others in.
    if (IsOpen()) return;
    state_->database =
        state_->Recording([&] { return std::make_shared<data::Database>(state_->data_source); });
    try {
        if (state_->connected) state_->connected();
    } catch (...) {
        if (HoldsWrites()) state_->EndBatch();
        state_->lost_batch.reset();
        state_->database.reset();
        throw;
    }
}

void Connection::Close() {
    if (!IsOpen()) return;
    try {
        CommitWrites();
    } catch (const RunTimeError&) {
        RollbackWrites();
        state_->database.reset();
        throw;
    }
    state_->database.reset();
}

bool Connection::IsOpen() const { return state_->database != nullptr; }

void Connection::Execute(std::string_view sql) {
    Open();
    state_->RunAll(sql);
}

Variant Connection::Scalar(std::string_view sql) {
    Open();
    const auto rows = state_->Run(std::string(sql));
    return rows.empty() || rows.front().empty() ? Variant() : rows.front().front();
}

void Connection::BeginWrites() {
    if (HoldsWrites()) return;
    Open();
    if (state_->database->ReadOnly())
        state_->Recording([&] {
            throw RunTimeError(data_error::kNotWritable, data::kErrorSource,
                               "The database \"" + DataSource() + "\" cannot be written.");
        });
    state_->Run("BEGIN IMMEDIATE");
    try {
        state_->write_timer =
            SetTimer(kLongestBatch, [state = state_.get()](std::uint32_t) { state->CommitLate(); });
    } catch (const RunTimeError&) {
        state_->database->Rollback();
        throw;
    }
}

void Connection::CommitWrites() {
    if (HoldsWrites()) state_->Commit();
    if (state_->lost_batch) throw RunTimeError(*state_->lost_batch);
}

void Connection::RollbackWrites() {
    if (HoldsWrites()) state_->Rollback();
    state_->lost_batch.reset();
}

bool Connection::HoldsWrites() const { return state_->write_timer != 0; }

const std::vector<ErrorInfo>& Connection::Errors() const { return state_->errors; }
void Connection::ClearErrors() { state_->errors.clear(); }
void Connection::OnFailure(std::function<void(const ErrorInfo& error)> observer) {
    state_->on_failure = std::move(observer);
}

}  // namespace pellago
