#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/data/sqlite_database.h"
#include "platform/values/run_time_error.h"
#include "platform/values/variant.h"

namespace pellago::data {

/// A query that is answered on a thread and a connection of its own, so that the program goes on meanwhile.
/// It sees what was committed when it began.
class BackgroundQuery final {
public:
    /// Some rows of the answer, in the order of the query.
    struct Answer {
        std::vector<Row> rows;
        bool is_last = false;
        std::optional<ErrorInfo> failure;  ///< of the last part, when it is not the end of the rows
    };

    /// `arrived` is called from the message loop: with the first rows as soon as they are there, later a few
    /// times a second, and once with the last part. It may destroy the query.
    BackgroundQuery(std::string file, std::string sql, std::vector<Variant> values,
                    std::function<void(Answer answer)> arrived);
    /// Ends it where it is; nothing more arrives.
    ~BackgroundQuery();
    BackgroundQuery(const BackgroundQuery&) = delete;
    BackgroundQuery& operator=(const BackgroundQuery&) = delete;

private:
    std::shared_ptr<std::function<void(Answer)>> arrived_;
    std::jthread thread_;
};

}  // namespace pellago::data
