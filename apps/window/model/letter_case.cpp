#include "model/letter_case.hpp"

#include <array>

namespace window {
namespace {

/* Uppercase letters from `first` to `last`, `step` apart, each `distance` before its lowercase. */
struct CaseRange {
    char32_t first;
    char32_t last;
    char32_t step;
    char32_t distance;
};

constexpr std::array kRanges{// Latin
                             CaseRange{0x00C0, 0x00D6, 1, 32}, CaseRange{0x00D8, 0x00DE, 1, 32},
                             CaseRange{0x0100, 0x012E, 2, 1}, CaseRange{0x0132, 0x0136, 2, 1},
                             CaseRange{0x0139, 0x0147, 2, 1}, CaseRange{0x014A, 0x0176, 2, 1},
                             CaseRange{0x0179, 0x017D, 2, 1}, CaseRange{0x01A0, 0x01A4, 2, 1},
                             CaseRange{0x01AF, 0x01AF, 1, 1}, CaseRange{0x01CD, 0x01DB, 2, 1},
                             CaseRange{0x01DE, 0x01EE, 2, 1}, CaseRange{0x01F8, 0x021E, 2, 1},
                             CaseRange{0x0222, 0x0232, 2, 1}, CaseRange{0x1E00, 0x1E94, 2, 1},
                             CaseRange{0x1EA0, 0x1EFE, 2, 1},
                             // Greek
                             CaseRange{0x0386, 0x0386, 1, 38}, CaseRange{0x0388, 0x038A, 1, 37},
                             CaseRange{0x038C, 0x038C, 1, 64}, CaseRange{0x038E, 0x038F, 1, 63},
                             CaseRange{0x0391, 0x03A1, 1, 32}, CaseRange{0x03A3, 0x03AB, 1, 32},
                             // Cyrillic
                             CaseRange{0x0400, 0x040F, 1, 80}, CaseRange{0x0410, 0x042F, 1, 32},
                             CaseRange{0x0460, 0x0480, 2, 1}, CaseRange{0x048A, 0x04BE, 2, 1},
                             CaseRange{0x04C0, 0x04C0, 1, 15}, CaseRange{0x04C1, 0x04CD, 2, 1},
                             CaseRange{0x04D0, 0x052E, 2, 1},
                             // Armenian
                             CaseRange{0x0531, 0x0556, 1, 48}};

// The one lowercase letter that comes before its uppercase: y with two dots.
constexpr char32_t kLowercaseY = 0x00FF;
constexpr char32_t kUppercaseY = 0x0178;

bool holds(const CaseRange& range, char32_t letter) {
    return letter >= range.first && letter <= range.last &&
           (letter - range.first) % range.step == 0;
}

char32_t lowercase_of(char32_t letter) {
    if (letter == kUppercaseY) return kLowercaseY;
    for (const CaseRange& range : kRanges) {
        if (holds(range, letter)) return letter + range.distance;
    }
    return 0;
}

char32_t uppercase_of(char32_t letter) {
    if (letter == kLowercaseY) return kUppercaseY;
    for (const CaseRange& range : kRanges) {
        if (letter >= range.distance && holds(range, letter - range.distance)) {
            return letter - range.distance;
        }
    }
    return 0;
}

}  // namespace

char32_t other_case(char32_t letter) {
    if (letter < 0xC0) return 0;
    const char32_t lower = lowercase_of(letter);
    return lower != 0 ? lower : uppercase_of(letter);
}

bool is_uppercase(char32_t letter) {
    return letter >= 0xC0 && lowercase_of(letter) != 0;
}

char32_t take_code_point(std::string_view text, std::size_t& at) {
    const auto byte = [&](std::size_t i) -> char32_t {
        return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
    };
    const auto is_continuation = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    const char32_t first = byte(at);
    if (first >= 0xC2 && first < 0xE0 && is_continuation(at + 1)) {
        const char32_t letter = (first & 0x1F) << 6 | (byte(at + 1) & 0x3F);
        at += 2;
        return letter;
    }
    if (first >= 0xE0 && first < 0xF0 && is_continuation(at + 1) && is_continuation(at + 2)) {
        const char32_t letter =
            (first & 0x0F) << 12 | (byte(at + 1) & 0x3F) << 6 | (byte(at + 2) & 0x3F);
        at += 3;
        return letter;
    }
    ++at;
    // No letter of four bytes has two cases here, so its bytes may stay single.
    return first < 0x80 ? first : 0;
}

void append_code_point(std::string& text, char32_t code_point) {
    const auto append = [&](char32_t byte) { text += static_cast<char>(byte); };
    if (code_point < 0x80) {
        append(code_point);
    } else if (code_point < 0x800) {
        append(0xC0 | code_point >> 6);
        append(0x80 | (code_point & 0x3F));
    } else {
        append(0xE0 | code_point >> 12);
        append(0x80 | (code_point >> 6 & 0x3F));
        append(0x80 | (code_point & 0x3F));
    }
}

std::string lowercase(std::string_view text) {
    std::string lower;
    lower.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        const char32_t letter = take_code_point(text, at);
        if (letter >= 'A' && letter <= 'Z') {
            lower += static_cast<char>(letter | 0x20);
        } else if (is_uppercase(letter)) {
            append_code_point(lower, other_case(letter));
        } else {
            lower += text.substr(begin, at - begin);
        }
    }
    return lower;
}

}  // namespace window
