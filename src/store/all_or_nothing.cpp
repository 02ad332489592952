#include "store/all_or_nothing.h"

#include "infra/guarded_routine.h"

namespace pellago {

AllOrNothing::AllOrNothing(Connection& connection)
    : connection_(connection), is_inside_another_(connection.HoldsWrites()) {
    if (is_inside_another_) {
        connection_.Execute("SAVEPOINT AllOrNothing");
        return;
    }
    connection_.CommitWrites();  // fails where an earlier writer has still to hear that his writes are lost
    connection_.BeginWrites();
}

AllOrNothing::~AllOrNothing() {
    if (is_kept_ || (is_inside_another_ && !connection_.HoldsWrites())) return;
    Try([this] {
        if (is_inside_another_)
            connection_.Execute("ROLLBACK TO AllOrNothing; RELEASE AllOrNothing");
        else
            connection_.RollbackWrites();
    });
}

void AllOrNothing::Keep() {
    if (is_inside_another_)
        connection_.Execute("RELEASE AllOrNothing");
    else
        connection_.CommitWrites();
    is_kept_ = true;
}

}  // namespace pellago
