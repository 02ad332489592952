#include "infra/guarded_routine.h"

#include <string>

#include "infra/process_objects.h"

namespace pellago::guarded_routine {
namespace {

CErrorHandler& Handler() {
    if (!gErrorHandler)
        throw RunTimeError(error_number::kObjectNotSet, "", "Object variable or With block variable not set");
    return *gErrorHandler;
}

}  // namespace

void Enter(std::string_view name) { Handler().CallStackPush(std::string(name), ""); }

void Leave() { Handler().CallStackPop(); }

Decision AskHandler() {
    const auto decision = static_cast<Decision>(Handler().HandleError(""));
    if (decision == Decision::kAbort) Handler().CallStackClear();
    return decision;
}

Decision RaiseCurrent() { throw RunTimeError(Err().number, Err().source, Err().description); }

}  // namespace pellago::guarded_routine
