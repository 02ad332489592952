#pragma once

#include <memory>

namespace pellago {

/// A member of an object that others reach through a plain pointer: it tells them whether the object is still
/// there.
class Lifetime final {
public:
    Lifetime() = default;
    Lifetime(const Lifetime&) = delete;
    Lifetime& operator=(const Lifetime&) = delete;

    /// Expires with the object.
    std::weak_ptr<const bool> Watch() const { return alive_; }

private:
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace pellago
