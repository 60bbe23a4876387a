#include "query/signature_filter.hpp"

#include <algorithm>

#include "common/text.hpp"
#include "index/signature.hpp"

namespace system_search {
namespace {

bool intersect(const Segment& segment, unsigned signature_bit, EntryBits& bits) {
    const std::uint64_t* const column = segment.column(signature_bit);
    std::uint64_t left = 0;
    for (std::uint32_t word = 0; word < segment.words; ++word) {
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

bool SignatureFilter::apply(const Segment& segment, EntryBits& bits) const {
    for (const unsigned bit : pairs_) {
        if (!intersect(segment, bit, bits)) return false;
    }
    for (const unsigned bit : bytes_) {
        if (!intersect(segment, bit, bits)) return false;
    }
    return true;
}

}  // namespace system_search
