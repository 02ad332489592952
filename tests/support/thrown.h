#pragma once

#include <cstdint>
#include <string>

#include "platform/values/run_time_error.h"

namespace pellago::test {

struct Thrown {
    std::int32_t number = 0;
    std::string text;
    std::string source;
    friend bool operator==(const Thrown&, const Thrown&) = default;
};
/// The RunTimeError that `action` ends with; number 0 when it ends with none.
template <class Action>
Thrown ThrownBy(Action&& action) {
    try {
        action();
    } catch (const RunTimeError& error) {
        return {error.Number(), error.Description(), error.Source()};
    }
    return {};
}

}  // namespace pellago::test
