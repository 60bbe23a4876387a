#include "query/candidates.hpp"

#include <algorithm>
#include <utility>

namespace system_search {
namespace {

constexpr auto kBefore = [](const Entry* a, const Entry* b) { return orders_before(*a, *b); };

}  // namespace

bool orders_before(const Entry& a, const Entry& b) {
    // Whole paths, so that results come grouped by folder.
    const int order = a.folded_path.view().compare(b.folded_path.view());
    return order != 0 ? order < 0 : a.path.view() < b.path.view();
}

void Candidates::offer(const Entry& entry) {
    if (heap_.size() < limit_) {
        heap_.push_back(&entry);
    } else {
        if (!orders_before(entry, *heap_.front())) return;
        std::pop_heap(heap_.begin(), heap_.end(), kBefore);
        heap_.back() = &entry;
    }
    std::push_heap(heap_.begin(), heap_.end(), kBefore);
}

std::vector<const Entry*> Candidates::take_sorted() {
    std::sort_heap(heap_.begin(), heap_.end(), kBefore);
    return std::exchange(heap_, {});
}

}  // namespace system_search
