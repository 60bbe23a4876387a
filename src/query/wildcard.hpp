// The wildcard rule: "*" stands for any run of code points, also none, "?" for exactly one.
#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>

namespace system_search {

// A byte that continues a UTF-8 code point.
constexpr bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The position after the code point at `position`; never beyond the end. Continuation bytes belong
// to whatever stands before them, so that text which is not UTF-8 has code points as well.
std::size_t next_code_point(std::string_view text, std::size_t position);

// Whether the pattern matches all of the subject. False once `cancel` is set: a long subject and a
// pattern of many stars may take long.
bool wildcard_match(std::string_view pattern, std::string_view subject,
                    const std::atomic<bool>& cancel);

}  // namespace system_search
