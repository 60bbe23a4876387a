#include "query/signature_filter.hpp"

#include <algorithm>

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

void SignatureFilter::require(std::string_view folded_text, bool begins, bool ends) {
    for (std::size_t i = 0; i < folded_text.size(); ++i) {
        require_bit(byte_bit(folded_text[i]));
        if (i + 1 < folded_text.size()) require_bit(pair_bit(folded_text[i], folded_text[i + 1]));
    }
    if (folded_text.empty()) {
        if (begins && ends) require_bit(pair_bit('\0', '\0'));
        return;
    }
    if (begins) require_bit(pair_bit('\0', folded_text.front()));
    if (ends) require_bit(pair_bit(folded_text.back(), '\0'));
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
