#include "background_query.h"

#include <QCoreApplication>
#include <chrono>
#include <cstddef>
#include <utility>

namespace pellago::data {
namespace {

using Clock = std::chrono::steady_clock;
using Arrived = std::function<void(BackgroundQuery::Answer)>;

// The first part fills a screen; the others come often enough for a number that grows.
constexpr std::size_t kFirstRows = 128;
constexpr std::chrono::milliseconds kBetweenParts{60};

/// What the thread does: it reads, and posts what it has read to the program's thread.
class Reading final {
public:
    Reading(std::stop_token stop, std::weak_ptr<Arrived> arrived)
        : stop_(std::move(stop)), arrived_(std::move(arrived)) {}

    void Run(const std::string& file, const std::string& sql, const std::vector<Variant>& values) {
        try {
            Database database(file, [this] {
                if (!answer_.rows.empty() && Clock::now() >= due_) Post();
                return !stop_.stop_requested();
            });
            database.ForEach(database.Prepared(sql), values, [this](Row row) { Add(std::move(row)); });
        } catch (const std::exception&) {
            answer_.failure = CurrentError();
        }
        answer_.is_last = true;
        Post();
    }

private:
    void Add(Row row) {
        answer_.rows.push_back(std::move(row));
        if (!posted_ && answer_.rows.size() == kFirstRows) Post();
    }

    void Post() {
        posted_ = true;
        due_ = Clock::now() + kBetweenParts;
        if (stop_.stop_requested()) return;
        auto call = [arrived = arrived_, answer = std::exchange(answer_, {})]() mutable noexcept {
            if (const auto alive = arrived.lock()) (*alive)(std::move(answer));
        };
        QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(call), Qt::QueuedConnection);
    }

    std::stop_token stop_;
    std::weak_ptr<Arrived> arrived_;
    BackgroundQuery::Answer answer_;
    bool posted_ = false;
    Clock::time_point due_ = Clock::now() + kBetweenParts;
};

}  // namespace

BackgroundQuery::BackgroundQuery(std::string file, std::string sql, std::vector<Variant> values,
                                 std::function<void(Answer answer)> arrived)
    : arrived_(std::make_shared<Arrived>(std::move(arrived))),
      thread_([file = std::move(file), sql = std::move(sql), values = std::move(values),
               arrived = std::weak_ptr(arrived_)](std::stop_token stop) {
          Reading(std::move(stop), arrived).Run(file, sql, values);
      }) {}

// A part that is under way to the program's thread finds nobody there.
BackgroundQuery::~BackgroundQuery() { arrived_.reset(); }

}  // namespace pellago::data
