#pragma once

#include <cstdint>
#include <string>

#include "engine/update_run.h"
#include "store/de1.h"

namespace pellago::bench {

/// An engine on that database, as the programs make it.
class EngineRun final {
public:
    explicit EngineRun(const std::string& path);

    void All() { engine_.Update(); }
    void Channel(std::int32_t id) { engine_.UpdateOnlyOneChannel(id); }
    /// Rows of `News`.
    std::int32_t Stored();

private:
    CDBUpdateEvents nobody_;
    DE1 database_;
    CDBUpdate engine_{nobody_};
};

}  // namespace pellago::bench
