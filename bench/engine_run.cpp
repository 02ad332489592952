#include "engine_run.h"

#include "infra/guarded_routine.h"
#include "store/hand_over.h"

namespace pellago::bench {

EngineRun::EngineRun(const std::string& path) : database_(path) {
    RaisingErrors([this](Statements& run) { HandOver(run, engine_, database_); });
}

std::int32_t EngineRun::Stored() { return CLng(database_.CnnRSS()->Scalar("SELECT count(*) FROM News")); }

}  // namespace pellago::bench
