#pragma once

#include <memory>

#include "platform/values/run_time_error.h"

namespace pellago {

/// A recordset or command that the engine's owner was to hand over. A run without it fails at the statement
/// that needs it: throws RunTimeError kObjectNotSet.
template <class Object>
Object& HandedOver(const std::shared_ptr<Object>& object) {
    if (!object)
        throw RunTimeError(error_number::kObjectNotSet, "", "Object variable or With block variable not set");
    return *object;
}

}  // namespace pellago
