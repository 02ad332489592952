#include "engine_run.h"

#include "engine/run_objects.h"

namespace pellago::bench {

EngineRun::EngineRun(const std::string& path) : database_(path) {
    InitDBObjects([](auto&& statement) { statement(); }, engine_, database_);
}

std::int32_t EngineRun::Stored() { return CLng(database_.CnnRSS()->Scalar("SELECT count(*) FROM News")); }

}  // namespace pellago::bench
