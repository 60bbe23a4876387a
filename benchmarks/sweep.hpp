// Query texts that nobody chose: made from the names of the corpus, by a seed. A benchmark that
// picks its texts measures who picked them.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "corpus.hpp"
#include "system_search.h"

namespace system_search::bench {

struct SweepText {
    std::string text;
    std::uint32_t flags;  // SS_MATCH_...
};

class SweepMaker {
public:
    SweepMaker(const Corpus& corpus, std::uint32_t seed) : corpus_(corpus), random_(seed) {}

    SweepText next() {
        const std::string& path = corpus_.entries[below(corpus_.entries.size())].path;
        SweepText made;
        made.flags = (below(3) == 0 ? SS_MATCH_PATH : 0u) | (below(4) == 0 ? SS_MATCH_CASE : 0u);
        subject_ = path;
        if ((made.flags & SS_MATCH_PATH) == 0) subject_.erase(0, path.rfind('/') + 1);
        made.text = shaped();
        return made;
    }

private:
    std::size_t below(std::size_t limit) {
        return static_cast<std::size_t>(random_() % limit);  // the same with every library
    }

    std::string shaped() {
        const std::size_t dot = subject_.rfind('.');
        const std::size_t middle = below(subject_.size());
        switch (below(9)) {
            case 0:
                return piece(0, subject_.size());
            case 1:
                return "*" + marked(piece(0, subject_.size())) + "*";
            case 2:
                return "*" + marked(piece(0, middle)) + "*" + marked(piece(middle, kEnd)) + "*";
            case 3:
                return marked(piece_from(0)) + "*";
            case 4:
                return "*" + marked(piece_to_end());
            case 5:
                return "*" + marked(dot == kEnd ? piece_to_end() : subject_.substr(dot));
            case 6:
                return marked(piece_from(0)) + "*" + marked(piece_to_end());
            case 7:
                return marked(subject_, /*at_least=*/1);
            default:
                return letters();
        }
    }

    // Up to ten bytes from somewhere in a part of the subject, of whole code points.
    std::string piece(std::size_t first, std::size_t end) {
        end = std::min(end, subject_.size());
        if (first >= end) return {};
        const std::size_t start = first + below(end - first);
        return whole(start, std::min(end, start + 1 + below(10)));
    }
    std::string piece_from(std::size_t start) { return whole(start, start + 1 + below(10)); }
    std::string piece_to_end() {
        return whole(subject_.size() - std::min(subject_.size(), 1 + below(10)), subject_.size());
    }
    std::string whole(std::size_t start, std::size_t end) const {
        end = std::min(end, subject_.size());
        while (start > 0 && continues(subject_[start])) --start;
        while (end < subject_.size() && continues(subject_[end])) ++end;
        return subject_.substr(start, end - start);
    }

    // Of every second text up to three code points become "?".
    std::string marked(std::string text, std::size_t at_least = 0) {
        std::size_t marks = below(2) == 0 ? 1 + below(3) : 0;
        for (marks = std::max(marks, at_least); marks != 0 && !text.empty(); --marks) {
            std::size_t start = below(text.size());
            while (start > 0 && continues(text[start])) --start;
            std::size_t end = start + 1;
            while (end < text.size() && continues(text[end])) ++end;
            text.replace(start, end - start, "?");
        }
        return text;
    }

    // Two to four letters in their order, with stars around each.
    std::string letters() {
        std::string text = "*";
        std::size_t at = 0;
        for (std::size_t count = 2 + below(3); count != 0 && at < subject_.size(); --count) {
            at += below(subject_.size() - at);
            const std::string letter = whole(at, at + 1);
            at += letter.size();
            text += marked(letter) + "*";
        }
        return text;
    }

    static bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }
    static constexpr std::size_t kEnd = std::string::npos;

    const Corpus& corpus_;
    std::mt19937 random_;
    std::string subject_;
};

inline std::vector<SweepText> make_sweep(const Corpus& corpus, std::size_t count) {
    SweepMaker maker(corpus, /*seed=*/20261122);
    std::vector<SweepText> texts;
    while (texts.size() < count) texts.push_back(maker.next());
    return texts;
}

// How a text is shown: with its flags.
inline std::string shown(const SweepText& text) {
    std::string line = text.text;
    if ((text.flags & SS_MATCH_PATH) != 0) line += "  (whole path)";
    if ((text.flags & SS_MATCH_CASE) != 0) line += "  (case)";
    return line;
}

// Of values where more is worse: the middle one, the one that nine of ten do not exceed, the worst.
struct Spread {
    double median;
    double ninety;
    double worst;
};
inline Spread spread_of(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {values[values.size() / 2], values[(values.size() - 1) * 9 / 10], values.back()};
}

}  // namespace system_search::bench
