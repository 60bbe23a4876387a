#include "model/word_places.hpp"

#include <algorithm>
#include <cstdint>

namespace window {
namespace {

constexpr std::size_t kMaxPlaced = 8;

/* The earliest end of some of the words, and which of them comes last then. */
struct Placed {
    std::size_t end = std::string_view::npos;
    std::size_t last = 0;
};

/* By the set of words, each a bit. To have one of them last, the others must end as early as they
   can: so each set follows from those with one word less. */
std::vector<Placed> earliest_ends(std::string_view subject, const std::vector<std::string>& words,
                                  std::size_t count) {
    std::vector<Placed> ends(std::size_t{1} << count);
    ends[0].end = 0;
    for (std::size_t set = 1; set < ends.size(); ++set) {
        for (std::size_t word = 0; word < count; ++word) {
            const std::size_t bit = std::size_t{1} << word;
            if ((set & bit) == 0 || ends[set ^ bit].end == std::string_view::npos) continue;
            const std::size_t at = subject.find(words[word], ends[set ^ bit].end);
            if (at == std::string_view::npos) continue;
            if (at + words[word].size() < ends[set].end) {
                ends[set] = {at + words[word].size(), word};
            }
        }
    }
    return ends;
}

}  // namespace

std::vector<Range> place_words(std::string_view subject, const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        if (subject.find(word) == std::string_view::npos) return {};
    }
    const std::size_t count = std::min(words.size(), kMaxPlaced);
    const std::vector<Placed> ends = earliest_ends(subject, words, count);
    if (ends.back().end == std::string_view::npos) return {};
    std::vector<Range> places;
    for (std::size_t set = ends.size() - 1; set != 0; set ^= std::size_t{1} << ends[set].last) {
        const Placed& placed = ends[set];
        places.push_back({placed.end - words[placed.last].size(), placed.end});
    }
    std::reverse(places.begin(), places.end());
    return places;
}

}  // namespace window
