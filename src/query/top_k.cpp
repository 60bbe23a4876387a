#include "query/top_k.hpp"

#include <algorithm>
#include <utility>

namespace system_search {

void TopK::offer(EntryRef entry) {
    if (!would_keep(entry)) return;
    if (heap_.size() < limit_) {
        heap_.push_back(entry);
    } else {
        std::pop_heap(heap_.begin(), heap_.end(), orders_before);
        heap_.back() = entry;
    }
    std::push_heap(heap_.begin(), heap_.end(), orders_before);
}

std::vector<EntryRef> TopK::take_sorted() {
    std::sort_heap(heap_.begin(), heap_.end(), orders_before);
    return std::exchange(heap_, {});
}

}  // namespace system_search
