#include "query/name_matcher.hpp"

#include <algorithm>

#include "index/signature.hpp"

#include <emmintrin.h>

namespace system_search {

NameMatcher::NameMatcher(const NameTerms& terms)
    : begin_(terms.begin),
      inner_(terms.inner),
      end_(terms.end),
      is_end_only_(terms.is_end_only),
      match_case_(terms.match_case),
      tell_(tell_of(terms)) {
    const auto require = [&](std::string_view text, bool begins, bool ends) {
        filter_.require(text, begins, ends, match_case_);
    };
    if (begin_.size() != 0) require(terms.begin, /*begins=*/true, /*ends=*/false);
    for (const Literal& literal : terms.inner) require(literal.text(), false, false);
    if (is_end_only_ || end_.size() != 0) require(terms.end, is_end_only_, /*ends=*/true);
    if (tell_ == Tell::kExtension) {
        extension_part_ = terms.inner.empty() ? terms.end : terms.inner[0].text();
    }
}

NameMatcher::Tell NameMatcher::tell_of(const NameTerms& terms) {
    if (terms.is_end_only || !terms.begin.empty()) return Tell::kName;
    if (terms.inner.empty()) return terms.end.empty() ? Tell::kSignature : Tell::kExtension;
    if (terms.inner.size() > 1 || !terms.end.empty()) return Tell::kName;
    const std::string_view text = terms.inner[0].text();
    const bool has_bit = (text.size() == 1 && has_own_bit(text[0])) ||
                         (text.size() == 2 && has_own_bit(text[0], text[1]));
    return has_bit ? Tell::kSignature : Tell::kExtension;
}

void NameMatcher::match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const {
    const Shard& shard = subject.shard();
    if (!filter_.apply(shard, bits)) return;
    EntryBits known;
    std::copy_n(bits, shard.words(), known);
    known_matches(shard, known);
    for (std::uint32_t word = 0; word < shard.words(); ++word) bits[word] &= ~known[word];
    keep_names_if(shard, bits, cancel,
                  [&](std::uint32_t entry) { return matches(subject.name(entry)); });
    for (std::uint32_t word = 0; word < shard.words(); ++word) bits[word] |= known[word];
}

// Clears the bits of all entries but those that are known to match without a look at their names.
void NameMatcher::known_matches(const Shard& shard, EntryBits& bits) const {
    constexpr std::uint32_t kFewEntries = 32;
    const bool pays = tell_ == Tell::kSignature ||
                      (tell_ == Tell::kExtension && count_bits(shard, bits) > kFewEntries);
    if (!pays) {
        std::fill_n(bits, shard.words(), 0);
        return;
    }
    if (tell_ == Tell::kExtension) keep_extensions(shard, bits);
    if (!match_case_) return;
    // Signatures and extensions are folded.
    const std::uint64_t* const capital = shard.signature(kCapitalBit);
    for (std::uint32_t word = 0; word < shard.words(); ++word) bits[word] &= ~capital[word];
}

void NameMatcher::keep_extensions(const Shard& shard, EntryBits& bits) const {
    EntryBits matching{};
    std::uint8_t number = 0;
    for (const Extension& extension : shard.extensions()) {
        ++number;
        const std::string_view text = extension_text(extension);
        const bool matches = end_.size() != 0
                                 ? text.ends_with(extension_part_)
                                 : text.find(extension_part_) != std::string_view::npos;
        if (!matches) continue;
        const __m128i wanted = _mm_set1_epi8(static_cast<char>(number));
        for (std::uint32_t entry = 0; entry < shard.size(); entry += 16) {
            const auto* const numbers = shard.extension_numbers() + entry;
            const __m128i equal =
                _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(numbers)), wanted);
            matching[entry / 64] |= std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(equal))}
                                    << entry % 64;
        }
    }
    for (std::uint32_t word = 0; word < shard.words(); ++word) bits[word] &= matching[word];
}

bool NameMatcher::matches(std::string_view name) const {
    if (name.size() < begin_.size() + end_.size()) return false;
    if (is_end_only_ && name.size() != end_.size()) return false;
    if (begin_.size() != 0 && !begin_.is_at(name.data())) return false;
    if (end_.size() != 0 && !end_.is_at(name.data() + name.size() - end_.size())) return false;
    return inner_.lie_in(name.substr(begin_.size(), name.size() - begin_.size() - end_.size()));
}

}  // namespace system_search
