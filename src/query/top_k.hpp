// The best `limit` matches met so far, in bounded memory.
#pragma once

#include <cstddef>
#include <vector>

#include "index/shard.hpp"

namespace system_search {

// A binary max-heap: the greatest of the kept entries is on top, ready to be replaced.
class TopK {
public:
    explicit TopK(std::size_t limit) : limit_(limit) {}

    // Whether offering the entry would keep it. If false for an entry, it is false for every entry
    // that sorts after it, so a shard whose least entry is refused can be skipped.
    bool would_keep(EntryRef entry) const {
        return heap_.size() < limit_ || orders_before(entry, heap_.front());
    }
    // Keeps the entry if it is among the `limit` least so far. Of entries with equal texts the
    // one met first stays. Throws std::bad_alloc.
    void offer(EntryRef entry);

    // Gives the entries in result order; nothing is left here.
    std::vector<EntryRef> take_sorted();

private:
    std::size_t limit_;
    std::vector<EntryRef> heap_;
};

}  // namespace system_search
