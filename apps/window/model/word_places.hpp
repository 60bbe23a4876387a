/* Where the words of a text stand in a name. */
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "model/highlight.hpp"

namespace window {

/* A place for each word, in the order of the places, so that none overlaps another; empty when
 * there is none. Bytes are compared as they are. Only the first eight words get a place, to bound
 * the ways to try; all others just have to occur. */
std::vector<Range> place_words(std::string_view subject, const std::vector<std::string>& words);

}  // namespace window
