/* How a person's text is put to the library.
 *
 * The library looks for one text or one pattern, and takes only A to Z for equal in both cases. A
 * person who types "final über" means "Über uns, final.pdf", too. So one text may be put as several
 * questions, and what any of them finds is the answer:
 *
 *     final march     *final*march*   *march*final*
 *     überstunden     überstunden     Überstunden
 *
 * A pattern of a path, such as docs\*.txt, is asked with a "*" in front.
 *
 * Words stand beside one another in a name, each at a place of its own: "an an" finds "banana", and
 * "report portal" does not find "reportal". In quotes blanks are a part of the word. */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "model/search_plan.hpp"

namespace window {

struct Phrasing {
    /* More would take longer than a key may. */
    static constexpr std::size_t kMaxQuestions = 12;
    /* The orders of three words are six; those of four would be twenty-four. */
    static constexpr std::size_t kMaxAsked = 3;

    std::vector<std::string> questions;  // texts for the library, one at least
    std::vector<std::string> words;      // the longest first; one: the text as it is asked
    bool whole_path = false;
    bool match_case = false;
    bool holds_rows = false;  // the questions lack some of the words: rows are held to them all
    bool all_cases = true;    // each letter was asked in both its cases, unless case matters
};

Phrasing phrase(const Question& question);

}  // namespace window
