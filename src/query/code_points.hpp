// Segments held against texts beyond ASCII, where a mark takes a whole code point and a star grows
// by whole ones: a byte of 0x80 to 0xBF continues the code point before it, also where the text is
// no UTF-8. In ASCII this is what query/segment.hpp does with vectors.
#pragma once

#include <atomic>
#include <cstddef>
#include <string_view>

namespace system_search {

constexpr bool is_continuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// Where the segment ends that lies at `from`, or npos when it does not lie there.
std::size_t end_of_segment(std::string_view segment, std::string_view text, std::size_t from);

// For a star at `from`, with a segment behind it that begins with no mark and is not empty. The
// star takes whole code points, so the segment may lie at `from`, inside a code point or not, and
// behind that only where a code point begins. Both are false, or npos, when cancelled.
//
// Where the first such segment ends.
std::size_t find_segment_end(std::string_view segment, std::string_view text, std::size_t from,
                             const std::atomic<bool>& cancel);
// Whether one of them ends where the text does.
bool ends_with_segment(std::string_view segment, std::string_view text, std::size_t from,
                       const std::atomic<bool>& cancel);

}  // namespace system_search
