/* Where a text matches within a name: the bytes that the list paints in another colour. */
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "model/phrasing.hpp"

namespace window {

/* Bytes of a name, at the borders of its code points. */
struct Range {
    std::size_t begin;
    std::size_t end;

    friend bool operator==(const Range&, const Range&) = default;
};

/* The parts of the name at the end of `path` that a phrasing matches, in order, without overlaps.
 * Of several words each has its place. A plain text matches where it first occurs; of a pattern,
 * what its letters and "?" stand for is marked, what a "*" swallows is not. With `whole_path` the
 * text is matched against the path and the part of that within the name is marked. Empty when the
 * text does not match. Letters match in both cases as they are asked, unless case matters. */
std::vector<Range> highlight(std::string_view path, const Phrasing& phrasing);

/* The same ranges counted in UTF-16 units of the name. */
std::vector<Range> in_utf16(const std::vector<Range>& ranges, std::string_view name);

}  // namespace window
