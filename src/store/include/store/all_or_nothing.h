#pragma once

#include "platform/data/connection.h"

namespace pellago {

/// Writes of one scope that are kept together or not at all, under the file's write lock. Where somebody else
/// holds that on the same connection, what he has written stays his own, to keep and to give up.
class AllOrNothing final {
public:
    /// Throws RunTimeError, also where what somebody else wrote before is lost and he has still to hear of
    /// it.
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
