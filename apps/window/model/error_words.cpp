#include "model/error_words.hpp"

namespace window {

std::string error_words(std::string_view system_text, std::string_view name) {
    std::string words;
    for (std::size_t i = 0; i < system_text.size(); ++i) {
        const char sign = system_text[i];
        const char next = i + 1 < system_text.size() ? system_text[i + 1] : '\0';
        if (sign == '%' && next >= '1' && next <= '9') {
            words += next == '1' ? "\"" + std::string(name) + "\"" : "...";
            ++i;
        } else if (sign == '\r' || sign == '\n') {
            if (!words.empty() && words.back() != ' ') words += ' ';
        } else {
            words += sign;
        }
    }
    while (!words.empty() && words.back() == ' ') words.pop_back();
    return words;
}

bool wants_a_program(std::uint32_t error) {
    constexpr std::uint32_t kNoAssociation = 1155;
    return error == kNoAssociation;
}

}  // namespace window
