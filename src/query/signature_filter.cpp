#include "query/signature_filter.hpp"

#include <algorithm>

#include "common/text.hpp"
#include "index/signature.hpp"

namespace system_search {
namespace {

bool intersect(const Shard& shard, unsigned signature_bit, EntryBits& bits) {
    const std::uint64_t* const column = shard.column(signature_bit);
    std::uint64_t left = 0;
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        left |= bits[word] &= column[word];
    }
    return left != 0;
}

}  // namespace

void SignatureFilter::require_bit(unsigned signature_bit) {
    std::vector<unsigned>& bits = signature_bit < 64 ? bytes_ : pairs_;
    if (std::find(bits.begin(), bits.end(), signature_bit) == bits.end()) {
        bits.push_back(signature_bit);
    }
}

void SignatureFilter::require(std::string_view text, bool begins, bool ends) {
    char before = '\0';
    bool has_before = begins && (ends || !text.empty());
    for (const char byte : text) {
        const char folded = fold(byte);
        require_bit(byte_bit(folded));
        if (has_before) require_bit(pair_bit(before, folded));
        before = folded;
        has_before = true;
    }
    if (ends && has_before) require_bit(pair_bit(before, '\0'));
}

void SignatureFilter::prefetch(const Shard& shard) const {
    // Where the first columns leave nothing, which is the rule for a rare text, no other is read.
    constexpr std::size_t kColumns = 3;
    std::size_t columns = 0;
    for (const std::vector<unsigned>* bits : {&pairs_, &bytes_}) {
        for (const unsigned bit : *bits) {
            if (++columns > kColumns) return;
            prefetch_bytes(shard.column(bit), shard.words * sizeof(std::uint64_t));
        }
    }
}

bool SignatureFilter::apply(const Shard& shard, EntryBits& bits) const {
    for (const unsigned bit : pairs_) {
        if (!intersect(shard, bit, bits)) return false;
    }
    for (const unsigned bit : bytes_) {
        if (!intersect(shard, bit, bits)) return false;
    }
    if (dots_.empty()) return true;
    EntryBits non_ascii;
    non_ascii_names(shard, non_ascii);
    std::uint64_t left = 0;
    for (std::uint32_t word = 0; word < shard.words; ++word) {
        std::uint64_t fits = ~std::uint64_t{0};
        for (const unsigned bit : dots_) fits &= shard.column(bit)[word];
        left |= bits[word] &= fits | non_ascii[word];
    }
    return left != 0;
}

}  // namespace system_search
