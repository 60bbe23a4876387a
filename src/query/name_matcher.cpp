#include "query/name_matcher.hpp"

#include <algorithm>

#include "index/signature.hpp"

namespace system_search {

NameMatcher::NameMatcher(const NameTerms& terms)
    : terms_(terms), begin_(terms.begin), end_(terms.end), filter_tells_(filter_tells()) {
    const auto require = [&](std::string_view text, bool begins, bool ends) {
        filter_.require(text, begins, ends, terms.match_case);
    };
    if (!begin_.text().empty()) require(begin_.text(), /*begins=*/true, /*ends=*/false);
    for (const Literal& literal : terms.inner) require(literal.text(), false, false);
    if (terms.is_end_only || !end_.text().empty()) {
        require(end_.text(), /*begins=*/terms.is_end_only, /*ends=*/true);
    }
}

bool NameMatcher::filter_tells() const {
    if (terms_.match_case || terms_.is_end_only || begin_.size() + end_.size() != 0) return false;
    if (terms_.inner.empty()) return true;
    if (terms_.inner.size() > 1) return false;
    const std::string_view text = terms_.inner[0].text();
    return (text.size() == 1 && has_own_bit(text[0])) ||
           (text.size() == 2 && has_own_bit(text[0], text[1]));
}

void NameMatcher::match(Subject& subject, EntryBits& bits, const std::atomic<bool>& cancel) const {
    const Shard& shard = subject.shard();
    if (!filter_.apply(shard, bits) || filter_tells_) return;
    keep_if(bits, 0, shard.size(), cancel,
            [&](std::uint32_t entry) { return matches(subject.name(entry)); });
}

bool NameMatcher::matches(std::string_view name) const {
    if (name.size() < begin_.size() + end_.size()) return false;
    if (terms_.is_end_only && name.size() != end_.size()) return false;
    if (!begin_.is_at(name.data())) return false;
    if (!end_.is_at(name.data() + name.size() - end_.size())) return false;
    name = name.substr(begin_.size(), name.size() - begin_.size() - end_.size());
    for (const Literal& literal : terms_.inner) {
        const std::size_t place = literal.find(name);
        if (place == std::string_view::npos) return false;
        name.remove_prefix(place + literal.size());
    }
    return true;
}

}  // namespace system_search
