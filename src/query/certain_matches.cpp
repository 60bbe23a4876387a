#include "query/certain_matches.hpp"

#include <algorithm>
#include <cstring>

#include "index/signature.hpp"

#include <emmintrin.h>

namespace system_search {
namespace {

// The entries of a shard whose extension has this number.
void add_entries_with(const Shard& shard, unsigned number, EntryBits& bits) {
    const __m128i wanted = _mm_set1_epi8(static_cast<char>(number));
    for (std::uint32_t entry = 0; entry < shard.size(); entry += 16) {
        const auto* const numbers = shard.extension_numbers() + entry;
        const __m128i equal =
            _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(numbers)), wanted);
        bits[entry / 64] |= std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(equal))}
                            << entry % 64;
    }
}

}  // namespace

CertainMatches::CertainMatches(const Terms& terms, bool match_case)
    : told_by_(told_by(terms)),
      match_case_(match_case),
      are_all_(terms.match_everything() || (told_by_ == ToldBy::kSignature && !match_case)) {
    if (told_by_ != ToldBy::kExtension) return;
    is_suffix_ = terms.inner.empty();
    part_ = is_suffix_ ? Segment(terms.suffix) : terms.inner[0];
}

CertainMatches::ToldBy CertainMatches::told_by(const Terms& terms) {
    if (!terms.has_star || !terms.prefix.empty()) return ToldBy::kName;
    if (terms.inner.empty()) return ToldBy::kExtension;
    if (terms.inner.size() > 1 || !terms.suffix.empty()) return ToldBy::kName;
    const std::string_view text = terms.inner[0].text();
    const bool has_bit = (text.size() == 1 && has_own_bit(text[0])) ||
                         (text.size() == 2 && text[1] != kMark && has_own_bit(text[0], text[1]));
    return has_bit ? ToldBy::kSignature : ToldBy::kExtension;
}

// A name ends with its extension. So what the extension holds, the name holds; and as far as the
// two overlap, a suffix of the name fits the extension or nothing.
CertainMatches::Verdict CertainMatches::verdict(Extension extension) const {
    char padded[sizeof extension + kTextPadding] = {};
    const std::string_view text = extension_text(extension);
    std::memcpy(padded, text.data(), text.size());
    const std::string_view subject(padded, text.size());
    if (!is_suffix_) {
        const std::atomic<bool> never{false};
        return part_.find(subject, never) == std::string_view::npos ? Verdict::kOpen
                                                                    : Verdict::kMatch;
    }
    if (part_.size() <= text.size()) {
        return part_.is_suffix_of(subject) ? Verdict::kMatch : Verdict::kNoMatch;
    }
    const std::string_view overlap = part_.text().substr(part_.size() - text.size());
    return Segment(overlap).is_at(padded) ? Verdict::kOpen : Verdict::kNoMatch;
}

bool CertainMatches::take(const Shard& shard, EntryBits& bits, EntryBits& certain) const {
    // For fewer a look at the names takes less than one at the extensions.
    constexpr std::uint32_t kFewEntries = 32;
    if (told_by_ == ToldBy::kName || count_bits(shard, bits) <= kFewEntries) return false;

    // Signatures and extensions are folded: where case matters they tell nothing of a name with an
    // uppercase letter.
    EntryBits untold{};
    if (match_case_) {
        const std::uint64_t* const uppercase = shard.signature(kUppercaseBit);
        for (std::uint32_t word = 0; word < shard.words(); ++word) {
            untold[word] = bits[word] & uppercase[word];
            bits[word] &= ~uppercase[word];
        }
    }
    if (told_by_ == ToldBy::kExtension) {
        take_by_extension(shard, bits, certain);
    } else {
        std::copy_n(bits, shard.words(), certain);
        std::fill_n(bits, shard.words(), 0);
    }
    add_bits(shard, untold, bits);
    return true;
}

void CertainMatches::take_by_extension(const Shard& shard, EntryBits& bits,
                                       EntryBits& certain) const {
    EntryBits matching{};
    EntryBits open{};
    if (is_suffix_) add_entries_with(shard, 0, open);
    unsigned number = 0;
    for (const Extension& extension : shard.extensions()) {
        ++number;
        const Verdict told = verdict(extension);
        if (told == Verdict::kMatch) add_entries_with(shard, number, matching);
        if (told == Verdict::kOpen && is_suffix_) add_entries_with(shard, number, open);
    }
    for (std::uint32_t word = 0; word < shard.words(); ++word) {
        certain[word] = bits[word] & matching[word];
        bits[word] &= is_suffix_ ? open[word] : ~matching[word];
    }
}

}  // namespace system_search
