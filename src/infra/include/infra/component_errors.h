#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/values/run_time_error.h"

namespace pellago {

/// The errors of one reusable class: a block of numbers in the object-error range, the last of which stands
/// for every failure that the class did not expect.
class ComponentErrors final {
public:
    /// Codes count from 0x80040000.
    constexpr ComponentErrors(std::string_view class_name, std::int32_t first_code, std::int32_t last_code)
        : class_name_(class_name), first_code_(first_code), last_code_(last_code) {}

    /// The source is the program's name, "." and the class, or `source_name` where that is another.
    [[noreturn]] void Raise(std::int32_t code, const std::string& description) const;
    [[noreturn]] void Raise(std::int32_t code, const std::string& description,
                            std::string_view source_name) const;

    /// Runs a member of the class. Its own errors pass; any other failure is the component's.
    template <class Member>
    auto Run(Member&& member) const {
        try {
            return member();
        } catch (const RunTimeError& error) {
            if (IsOwn(error)) throw;
        } catch (const std::exception&) {
        }
        RaiseComponentFailure();
    }

private:
    bool IsOwn(const RunTimeError& error) const;
    [[noreturn]] void RaiseComponentFailure() const;

    std::string_view class_name_;
    std::int32_t first_code_;
    std::int32_t last_code_;
};

}  // namespace pellago
