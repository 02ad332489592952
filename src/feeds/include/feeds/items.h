#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "feeds/item.h"

namespace pellago {

/// The items of a channel, in order. An item lives as long as anybody holds it.
class clsItems final {
public:
    void Add(std::shared_ptr<ClsItem> item);
    /// Counted from 1; nothing outside 1 to Count.
    std::shared_ptr<ClsItem> Item(std::int32_t index) const;
    std::int32_t Count() const;
    void Clear();
    /// The items for a range-based loop; the collection may change meanwhile.
    std::vector<std::shared_ptr<ClsItem>> NewEnum() const;
    /// Earliest first; items of the same date keep their order.
    void SortByDate();

private:
    std::vector<std::shared_ptr<ClsItem>> items_;
};

}  // namespace pellago
