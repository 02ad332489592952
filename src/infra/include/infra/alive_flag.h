#pragma once

#include <memory>

namespace pellago {

/// A member of an object that others reach through a plain pointer, by which they know whether the object is
/// still there.
class AliveFlag final {
public:
    AliveFlag() = default;
    AliveFlag(const AliveFlag&) = delete;
    AliveFlag& operator=(const AliveFlag&) = delete;

    /// Expires with the object.
    std::weak_ptr<const bool> Watch() const { return alive_; }

private:
    std::shared_ptr<const bool> alive_ = std::make_shared<const bool>(true);
};

}  // namespace pellago
