// The judge of the scan: every rule of matching and order in its plainest form, one entry after
// the other over two strings each. Also the baseline that the benchmarks measure against.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace system_search::plain {

inline std::string fold(std::string text) {
    for (char& byte : text) {
        if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + 0x20);
    }
    return text;
}

struct Entry {
    Entry(std::string entry_path, std::uint32_t entry_kind)
        : path(std::move(entry_path)), folded_path(fold(path)), kind(entry_kind) {
        const std::size_t separator = path.rfind('/');
        name_offset = separator == std::string::npos ? 0 : separator + 1;
    }
    std::string path;
    std::string folded_path;
    std::size_t name_offset;
    std::uint32_t kind;
};

inline std::size_t next_code_point(std::string_view text, std::size_t i) {
    if (i >= text.size()) return text.size();
    ++i;
    while (i < text.size()) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80 || byte > 0xBF) break;
        ++i;
    }
    return i;
}

// Follows the rule step by step.
inline bool wildcard_match(std::string_view pattern, std::string_view view) {
    std::size_t p = 0;
    if (!view.empty()) {
        std::size_t v = 0;
        bool have_star = false;
        std::size_t star = 0;
        std::size_t mark = 0;
        do {
            bool backtrack = false;
            if (p < pattern.size()) {
                if (pattern[p] == '*') {
                    have_star = true;
                    star = p;
                    mark = v;
                } else if (pattern[p] == '?') {
                    v = next_code_point(view, v);
                } else if (pattern[p] == view[v]) {
                    ++v;
                } else {
                    backtrack = true;
                }
            } else {
                backtrack = true;
            }
            if (backtrack) {
                if (!have_star) return false;
                if (mark >= view.size()) return false;
                mark = next_code_point(view, mark);
                v = mark;
                p = star;
            }
            ++p;
        } while (v < view.size());
    }
    if (p >= pattern.size()) return p == pattern.size();
    for (; p < pattern.size(); ++p) {
        if (pattern[p] != '*') return false;
    }
    return true;
}

inline bool less(const Entry& a, const Entry& b) {
    if (a.folded_path == b.folded_path) return a.path < b.path;
    return a.folded_path < b.folded_path;
}

struct Answer {
    std::uint32_t matched = 0;
    std::vector<const Entry*> results;
};

inline Answer search(const std::vector<Entry>& entries, std::string_view text, std::uint32_t flags,
                     std::uint32_t kind, std::size_t limit) {
    const bool match_path = (flags & 1) != 0;
    const bool match_case = (flags & 2) != 0;
    const std::string pattern = match_case ? std::string(text) : fold(std::string(text));
    const bool wildcard = pattern.find_first_of("*?") != std::string::npos;
    const auto before = [](const Entry* a, const Entry* b) { return less(*a, *b); };

    Answer answer;
    std::vector<const Entry*>& heap = answer.results;
    for (const Entry& entry : entries) {
        if (kind != 0 && kind != entry.kind) continue;
        const std::string& subject = match_case ? entry.path : entry.folded_path;
        const std::size_t start = match_path ? 0 : entry.name_offset;
        if (wildcard) {
            if (!wildcard_match(pattern, std::string_view(subject).substr(start))) continue;
        } else {
            if (subject.size() < pattern.size() || start > subject.size() - pattern.size()) {
                continue;
            }
            if (subject.find(pattern, start) == std::string::npos) continue;
        }
        ++answer.matched;
        if (heap.size() < limit) {
            heap.push_back(&entry);
            std::push_heap(heap.begin(), heap.end(), before);
        } else if (less(entry, *heap.front())) {
            std::pop_heap(heap.begin(), heap.end(), before);
            heap.back() = &entry;
            std::push_heap(heap.begin(), heap.end(), before);
        }
    }
    std::sort_heap(heap.begin(), heap.end(), before);
    return answer;
}

}  // namespace system_search::plain
