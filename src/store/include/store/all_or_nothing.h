#pragma once

#include "platform/data/connection.h"

namespace pellago {

/// Writes of one scope that are kept together or not at all, under the file's write lock. Where another
/// routine (a run that is in progress) holds the lock on the same connection, that routine still decides
/// whether its own writes are kept.
class AllOrNothing final {
public:
    /// Throws RunTimeError, also where the writes of that other routine are lost and it has still to hear of
    /// that.
    explicit AllOrNothing(Connection& connection);
    ~AllOrNothing();
    AllOrNothing(const AllOrNothing&) = delete;
    AllOrNothing& operator=(const AllOrNothing&) = delete;

    void Keep();

private:
    Connection& connection_;
    bool is_inside_another_;
    bool is_kept_ = false;
};

}  // namespace pellago
