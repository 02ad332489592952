#include "feeds/items.h"

#include <algorithm>
#include <utility>

namespace pellago {

void clsItems::Add(std::shared_ptr<ClsItem> item) { items_.push_back(std::move(item)); }

std::shared_ptr<ClsItem> clsItems::Item(std::int32_t index) const {
    if (index < 1 || index > Count()) return nullptr;
    return items_[static_cast<std::size_t>(index) - 1];
}

std::int32_t clsItems::Count() const { return static_cast<std::int32_t>(items_.size()); }

void clsItems::Clear() { items_.clear(); }

std::vector<std::shared_ptr<ClsItem>> clsItems::NewEnum() const { return items_; }

void clsItems::SortByDate() {
    std::stable_sort(items_.begin(), items_.end(),
                     [](const auto& a, const auto& b) { return a->ItemDate() < b->ItemDate(); });
}

}  // namespace pellago
