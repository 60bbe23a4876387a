#include "query/candidates.hpp"

#include <algorithm>
#include <utility>

namespace system_search {
namespace {

constexpr auto kBefore = [](const Entry* a, const Entry* b) { return orders_before(*a, *b); };

}  // namespace

void Candidates::offer(const Entry& entry) {
    if (!would_keep(entry)) return;
    if (heap_.size() < limit_) {
        heap_.push_back(&entry);
    } else {
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
