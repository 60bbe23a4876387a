// The reference implementation of a search: the rules of matching and order in their shortest form,
// one entry after the other. The matchers of the library are held against it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "index/entry.hpp"

namespace system_search::reference {

inline std::string_view behind_code_point(std::string_view text) {
    std::size_t bytes = 1;
    while (bytes < text.size() && (text[bytes] & 0xC0) == 0x80) ++bytes;
    return text.substr(bytes);
}

// Whether the pattern matches all of the text. None when it does not and an earlier "*" may try the
// next place; behind a later one it may not any more.
inline std::optional<bool> matches(std::string_view pattern, std::string_view text) {
    if (pattern.empty()) return text.empty() ? std::optional(true) : std::nullopt;
    const std::string_view rest = pattern.substr(1);
    if (pattern[0] == '*') {
        for (;; text = behind_code_point(text)) {
            if (const auto result = matches(rest, text)) return result;
            if (text.empty()) return false;
        }
    }
    if (text.empty()) return std::nullopt;
    if (pattern[0] == '?') return matches(rest, behind_code_point(text));
    return pattern[0] == text[0] ? matches(rest, text.substr(1)) : std::nullopt;
}

// The same step by step, without recursion: the header's rule of wildcards as it is written there
// for whoever implements it. "*" goes back to the code point behind its mark.
inline bool matches_step_by_step(std::string_view pattern, std::string_view text) {
    constexpr std::size_t kNone = std::string_view::npos;
    std::size_t p = 0;
    std::size_t v = 0;
    std::size_t star = kNone;
    std::size_t mark = 0;
    const auto behind = [&](std::size_t at) {
        return at >= text.size() ? text.size()
                                 : text.size() - behind_code_point(text.substr(at)).size();
    };
    while (v < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p;
            mark = v;
        } else if (p < pattern.size() && pattern[p] == '?') {
            v = behind(v);
        } else if (p < pattern.size() && pattern[p] == text[v]) {
            ++v;
        } else {
            if (star == kNone || mark == text.size()) return false;
            v = mark = behind(mark);
            p = star;
        }
        ++p;
    }
    return p >= pattern.size() ? p == pattern.size() : pattern.find_first_not_of('*', p) == kNone;
}

struct Answer {
    std::uint32_t matched = 0;
    std::vector<const Entry*> results;
};

inline Answer search(const std::vector<Entry>& entries, std::string text, std::uint32_t flags,
                     std::uint32_t kind, std::size_t limit) {
    const bool match_path = (flags & 1) != 0;
    const bool match_case = (flags & 2) != 0;
    for (char& byte : text) {
        if (!match_case && byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + 0x20);
    }
    const bool is_wildcard = text.find_first_of("*?") != std::string::npos;

    Answer answer;
    for (const Entry& entry : entries) {
        const std::string& path = match_case ? entry.path : entry.folded_path;
        const auto subject = std::string_view(path).substr(match_path ? 0 : entry.name_offset);
        const bool is_match = is_wildcard ? matches_step_by_step(text, subject)
                                          : subject.find(text) != std::string_view::npos;
        if (is_match && (kind == 0 || kind == entry.kind)) answer.results.push_back(&entry);
    }
    answer.matched = static_cast<std::uint32_t>(answer.results.size());

    // Of equal entries the one met first comes first.
    const auto key = [](const Entry* entry) {
        return std::tuple<std::string_view, std::string_view, const Entry*>(entry->folded_path,
                                                                            entry->path, entry);
    };
    const auto count = static_cast<std::ptrdiff_t>(std::min(limit, answer.results.size()));
    std::partial_sort(answer.results.begin(), answer.results.begin() + count, answer.results.end(),
                      [&](const Entry* a, const Entry* b) { return key(a) < key(b); });
    answer.results.resize(static_cast<std::size_t>(count));
    return answer;
}

}  // namespace system_search::reference
