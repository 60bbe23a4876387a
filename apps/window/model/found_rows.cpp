#include "model/found_rows.hpp"

#include <algorithm>
#include <utility>

#include "model/letter_case.hpp"
#include "model/paths.hpp"
#include "model/word_places.hpp"

namespace window {
namespace {

unsigned char folded(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return value >= 'A' && value <= 'Z' ? static_cast<unsigned char>(value | 0x20) : value;
}

/* Whether a path has all words of a phrasing, whose questions lack some. */
class Held {
public:
    explicit Held(const Phrasing& phrasing) : phrasing_(phrasing) {
        if (!phrasing.holds_rows) return;
        for (const std::string& word : phrasing.words) {
            words_.push_back(phrasing.match_case ? word : lowercase(word));
        }
    }

    bool operator()(std::string_view path) const {
        if (!phrasing_.holds_rows) return true;
        const std::string_view subject = phrasing_.whole_path ? path : name_of(path);
        return !place_words(phrasing_.match_case ? std::string(subject) : lowercase(subject),
                            words_)
                    .empty();
    }

private:
    const Phrasing& phrasing_;
    std::vector<std::string> words_;
};

}  // namespace

bool comes_before(std::string_view a, std::string_view b) {
    const std::size_t shorter = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < shorter; ++i) {
        if (folded(a[i]) != folded(b[i])) return folded(a[i]) < folded(b[i]);
    }
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

FoundRows::FoundRows(std::vector<ss::Query> queries, const Phrasing& phrasing, std::uint32_t limit)
    : queries_(std::move(queries)) {
    std::uint32_t most = 0;
    for (const ss::Query& query : queries_) {
        const ss::Outcome outcome = query.poll();
        most = std::max(most, outcome.matched);
        overflows_ = overflows_ || outcome.matched > outcome.count;
    }
    if (queries_.size() == 1 && !phrasing.holds_rows) {
        for (std::uint32_t i = 0; i < queries_[0].poll().count; ++i) rows_.push_back({0, i});
        total_ = {most, Bound::kExact};
        return;
    }
    merge(phrasing);
    const auto held = static_cast<std::uint32_t>(rows_.size());
    if (!overflows_) {
        total_ = {held, Bound::kExact};
    } else if (phrasing.holds_rows) {
        total_ = {held, Bound::kAtLeast};
    } else {
        total_ = {std::max(held, most), Bound::kMoreThan};
        // Behind the last row of a query that overflows some may be missing.
        rows_.resize(std::min<std::size_t>(rows_.size(), limit));
    }
    rows_.resize(std::min<std::size_t>(rows_.size(), SS_MAX_RESULTS));
}

/* Takes the first of all first rows that are left, again and again. */
void FoundRows::merge(const Phrasing& phrasing) {
    const Held is_held(phrasing);
    std::vector<std::uint32_t> next(queries_.size());
    const auto path_of = [&](std::uint32_t query) {
        const char* path = ss_query_path(queries_[query].handle(), next[query]);
        return path ? std::string_view(path) : std::string_view();
    };
    for (;;) {
        std::uint32_t first = 0;
        std::string_view path;
        for (std::uint32_t query = 0; query < next.size(); ++query) {
            const std::string_view candidate = path_of(query);
            if (candidate.empty()) continue;
            if (path.empty() || comes_before(candidate, path)) {
                first = query;
                path = candidate;
            }
        }
        if (path.empty()) return;
        if (is_held(path)) rows_.push_back({first, next[first]});
        for (std::uint32_t query = 0; query < next.size(); ++query) {
            if (path_of(query) == path) ++next[query];
        }
    }
}

ss::Result FoundRows::operator[](std::size_t row) const {
    if (row >= rows_.size()) return {};
    return queries_[rows_[row].query].results()[rows_[row].result];
}

std::vector<ss::Query> FoundRows::take_queries() {
    rows_.clear();
    return std::exchange(queries_, {});
}

}  // namespace window
