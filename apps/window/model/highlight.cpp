#include "model/highlight.hpp"

#include "model/letter_case.hpp"
#include "model/paths.hpp"
#include "model/word_places.hpp"

namespace window {
namespace {

std::size_t next_code_point(std::string_view text, std::size_t at) {
    if (at >= text.size()) return text.size();
    do {
        ++at;
    } while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80);
    return at;
}

void mark(std::vector<Range>& marked, std::size_t begin, std::size_t end) {
    if (!marked.empty() && marked.back().end == begin) {
        marked.back().end = end;
    } else {
        marked.push_back({begin, end});
    }
}

/* The first occurrence that reaches into the name; one that ends before it has nothing to mark. */
std::vector<Range> plain_match(std::string_view subject, std::string_view text,
                               std::size_t name_begin) {
    const std::size_t first = name_begin + 1 > text.size() ? name_begin + 1 - text.size() : 0;
    const std::size_t at = subject.find(text, first);
    if (at == std::string_view::npos) return {};
    return {{at, at + text.size()}};
}

/* In the name alone where that holds all words, else in the whole path. */
std::vector<Range> words_match(std::string_view subject, const std::vector<std::string>& words,
                               std::size_t name_begin) {
    std::vector<Range> places = place_words(subject.substr(name_begin), words);
    for (Range& place : places) place = {place.begin + name_begin, place.end + name_begin};
    return places.empty() ? place_words(subject, words) : places;
}

/* The library's rule, with a note of what each sign of the pattern stood for. At a "*" the marks
   behind it are given up when the "*" has to swallow one code point more. */
std::vector<Range> pattern_match(std::string_view subject, std::string_view pattern) {
    std::vector<Range> marked;
    std::vector<Range> marked_at_star;
    std::size_t star = std::string_view::npos;
    std::size_t swallowed_end = 0;
    std::size_t p = 0;
    std::size_t at = 0;
    while (at < subject.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            swallowed_end = at;
            marked_at_star = marked;
        } else if (p < pattern.size() && pattern[p] == '?') {
            const std::size_t next = next_code_point(subject, at);
            mark(marked, at, next);
            at = next;
            ++p;
        } else if (p < pattern.size() && pattern[p] == subject[at]) {
            mark(marked, at, at + 1);
            ++at;
            ++p;
        } else if (star != std::string_view::npos && swallowed_end < subject.size()) {
            at = swallowed_end = next_code_point(subject, swallowed_end);
            p = star + 1;
            marked = marked_at_star;
        } else {
            return {};
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size() ? marked : std::vector<Range>{};
}

}  // namespace

std::vector<Range> highlight(std::string_view path, const Phrasing& phrasing) {
    if (phrasing.words.empty() || phrasing.words[0].empty()) return {};
    const std::size_t name_size = name_of(path).size();
    std::string subject(phrasing.whole_path ? path : name_of(path));
    std::vector<std::string> words = phrasing.words;
    if (!phrasing.match_case) {
        subject = lowercase(subject);
        for (std::string& word : words) word = lowercase(word);
    }
    const std::size_t name_begin = subject.size() - name_size;
    const bool is_pattern = words[0].find_first_of("*?") != std::string::npos;
    const std::vector<Range> matched = words.size() > 1 ? words_match(subject, words, name_begin)
                                       : is_pattern     ? pattern_match(subject, words[0])
                                                    : plain_match(subject, words[0], name_begin);
    std::vector<Range> in_name;
    for (const Range& range : matched) {
        if (range.end <= name_begin) continue;
        const std::size_t begin = range.begin > name_begin ? range.begin - name_begin : 0;
        in_name.push_back({begin, range.end - name_begin});
    }
    return in_name;
}

std::vector<Range> in_utf16(const std::vector<Range>& ranges, std::string_view name) {
    const auto units_before = [&](std::size_t end) {
        std::size_t units = 0;
        for (std::size_t at = 0; at < end && at < name.size(); ++at) {
            const auto byte = static_cast<unsigned char>(name[at]);
            if ((byte & 0xC0) != 0x80) units += byte >= 0xF0 ? 2 : 1;
        }
        return units;
    };
    std::vector<Range> converted;
    converted.reserve(ranges.size());
    for (const Range& range : ranges) {
        converted.push_back({units_before(range.begin), units_before(range.end)});
    }
    return converted;
}

}  // namespace window
