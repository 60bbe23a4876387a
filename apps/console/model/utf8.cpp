#include "model/utf8.hpp"

#include <cstdint>

namespace console {
namespace {

bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

struct CodePoint {
    std::uint32_t value;
    std::size_t length_bytes;  // 0: malformed
};

CodePoint decode(std::string_view text) {
    const auto lead = static_cast<unsigned char>(text[0]);
    if (lead < 0x80) return {lead, 1};
    std::size_t length = 0;
    std::uint32_t value = 0;
    std::uint32_t least = 0;  // smaller values in as many bytes are overlong
    if ((lead & 0xE0) == 0xC0) {
        length = 2, value = lead & 0x1Fu, least = 0x80;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, value = lead & 0x0Fu, least = 0x800;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, value = lead & 0x07u, least = 0x10000;
    }
    if (length == 0 || text.size() < length) return {0, 0};
    for (std::size_t i = 1; i < length; ++i) {
        if (!is_continuation(text[i])) return {0, 0};
        value = value << 6 | (static_cast<unsigned char>(text[i]) & 0x3Fu);
    }
    const bool is_surrogate = value >= 0xD800 && value <= 0xDFFF;
    if (value < least || value > 0x10FFFF || is_surrogate) return {0, 0};
    return {value, length};
}

}  // namespace

std::size_t count_code_points(std::string_view text) {
    std::size_t count = 0;
    for (char byte : text) count += !is_continuation(byte);
    return count;
}

bool is_valid_utf8(std::string_view text) {
    while (!text.empty()) {
        const CodePoint point = decode(text);
        if (point.length_bytes == 0) return false;
        text.remove_prefix(point.length_bytes);
    }
    return true;
}

std::string without_controls(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    while (!text.empty()) {
        const CodePoint point = decode(text);
        const std::size_t length = point.length_bytes ? point.length_bytes : 1;
        const bool is_control = point.value < 0x20 || (point.value >= 0x7F && point.value < 0xA0);
        if (point.length_bytes == 0 || is_control) {
            clean += '?';
        } else {
            clean += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return clean;
}

std::string_view first_code_points(std::string_view text, std::size_t limit) {
    std::size_t end = 0;
    for (std::size_t count = 0; end < text.size(); ++end) {
        if (!is_continuation(text[end]) && ++count > limit) break;
    }
    return text.substr(0, end);
}

}  // namespace console
