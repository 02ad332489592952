#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "platform/values/run_time_error.h"

// The guarded-routine convention. A routine is a sequence of statements; when one fails, a decision is taken:
// leave the routine, run the statement again, or go on with the next one. Routines have no try/catch of their
// own for it. What fails outside a statement is an error to the caller.
//
//     void CDBUpdate::UpdateProvider(std::int32_t provider_id) {
//         Guarded("Corvane.CDBUpdate.UpdateProvider", [&](Statements& run) {
//             run([&] { channels_->Filter(filter); });
//             const auto count = run([&] { return channels_->RecordCount(); });
//         });
//     }
namespace pellago {

enum class Decision : std::int32_t { kAbort = 0, kRetry = 1, kIgnore = 2 };

/// Runs the statements of one routine. `decide` is asked about each failure, which is then the current one
/// (Err()).
class Statements final {
public:
    explicit Statements(std::function<Decision()> decide) : decide_(std::move(decide)) {}
    Statements(const Statements&) = delete;
    Statements& operator=(const Statements&) = delete;

    /// Runs one statement. A failing statement that is ignored yields a value-initialised result, as a
    /// variable that was never assigned. `line` is the caller's, by a builtin: std::source_location needs a
    /// newer clang than the oldest we build with.
    template <class Statement>
    std::invoke_result_t<Statement> operator()(Statement&& statement, std::int32_t line = __builtin_LINE()) {
        for (;;) {
            try {
                return statement();
            } catch (const Left&) {
                throw;
            } catch (const std::exception&) {
                Err() = CurrentError(line);
            }
            switch (Decide()) {
                case Decision::kRetry:
                    break;
                case Decision::kIgnore:
                    return std::invoke_result_t<Statement>();
                default:
                    throw Left{this, nullptr};
            }
        }
    }

private:
    template <class Body>
    friend void RunStatements(std::function<Decision()> decide, Body&& body);

    /// Thrown to leave `routine`. Routines nest, so the statements of those inside must let it pass.
    struct Left {
        const Statements* routine;
        std::exception_ptr failed_decision;
    };

    Decision Decide() const {
        try {
            return decide_();
        } catch (const std::exception&) {
            throw Left{this, std::current_exception()};
        }
    }

    std::function<Decision()> decide_;
};

/// Runs a routine whose failures are decided by `decide`; what `decide` throws leaves the routine and reaches
/// its caller.
template <class Body>
void RunStatements(std::function<Decision()> decide, Body&& body) {
    Statements run(std::move(decide));
    try {
        body(run);
    } catch (const Statements::Left& left) {
        if (left.routine != &run) throw;
        if (left.failed_decision) std::rethrow_exception(left.failed_decision);
    }
}

namespace guarded_routine {
void Enter(std::string_view name);
void Leave();
/// Asks the error handler; on abort the call stack is cleared.
Decision AskHandler();
/// Throws what Err() tells as a RunTimeError.
[[noreturn]] Decision RaiseCurrent();
}  // namespace guarded_routine

/// Runs a routine whose failures are of no interest: the next statement runs.
template <class Body>
void IgnoringErrors(Body&& body) {
    RunStatements([] { return Decision::kIgnore; }, std::forward<Body>(body));
}

/// Runs one statement whose failure is of no interest: Err() tells of it, and the result is then a
/// value-initialised one.
template <class Statement>
std::invoke_result_t<Statement> Try(Statement&& statement, std::int32_t line = __builtin_LINE()) {
    return Statements([] { return Decision::kIgnore; })(std::forward<Statement>(statement), line);
}

/// Runs a routine that ends at its first failure, which reaches the caller as a RunTimeError.
template <class Body>
void RaisingErrors(Body&& body) {
    RunStatements(&guarded_routine::RaiseCurrent, std::forward<Body>(body));
}

/// Runs a routine that is known to the error handler by `name` ("Corvane.", the module, ".", the routine): it
/// is on the call stack while it runs, and the handler decides about each failure. After an abort the caller
/// goes on normally. A failure of the handler itself reaches the caller.
template <class Body>
void Guarded(std::string_view name, Body&& body, std::int32_t line = __builtin_LINE()) {
    RunStatements(&guarded_routine::AskHandler, [&](Statements& run) {
        run([&] { guarded_routine::Enter(name); }, line);
        body(run);
        run([&] { guarded_routine::Leave(); }, line);
    });
}

}  // namespace pellago
