#pragma once

#include <memory>

#include "platform/values/run_time_error.h"

namespace pellago {

/// What the owner was to hand over; a run that was not given it fails at the statement that needs it.
template <class Object>
Object& Required(const std::shared_ptr<Object>& object) {
    if (!object)
        throw RunTimeError(error_number::kObjectNotSet, "", "Object variable or With block variable not set");
    return *object;
}

}  // namespace pellago
