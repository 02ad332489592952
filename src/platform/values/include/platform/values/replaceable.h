#pragma once

#include <functional>
#include <utility>

namespace pellago {

/// A question that the outside world answers (what time is it, which button was pressed), and that can be
/// answered by something else in its place.
template <class Signature>
class Replaceable;

template <class Result, class... Args>
class Replaceable<Result(Args...)> final {
public:
    explicit Replaceable(Result (*real)(Args...)) : real_(real) {}

    Result operator()(Args... args) const {
        return replacement_ ? replacement_(std::forward<Args>(args)...) : real_(std::forward<Args>(args)...);
    }
    /// An empty function brings the real answer back.
    void Replace(std::function<Result(Args...)> replacement) { replacement_ = std::move(replacement); }

private:
    Result (*real_)(Args...);
    std::function<Result(Args...)> replacement_;
};

template <class Result, class... Args>
Replaceable(Result (*)(Args...)) -> Replaceable<Result(Args...)>;

}  // namespace pellago
