/* What the status bar says. */
#pragma once

#include <cstdint>
#include <string>

#include "model/found_rows.hpp"
#include "model/index_session.hpp"
#include "model/numbers.hpp"
#include "model/phrasing.hpp"
#include "model/search_plan.hpp"

namespace window {

/* The outcome of the search that the list shows. */
struct Answer {
    Total total;
    std::uint32_t searched = 0;  // names
    double milliseconds = 0;
    bool sorted = false;    // by a column, not as the library orders
    bool all_cases = true;  // each letter was asked in both its cases
    // What may help when nothing was found. Initialised so that gcc lets a list leave it out.
    std::string empty_hint{};  // NOLINT(readability-redundant-member-init)
};

/* What may help who finds nothing, in a sentence. */
std::string empty_list_hint(const Question& question, const Phrasing& phrasing);

/* "23 of 1,204,551 names, 3 ms", or "The first 1000 of 48,213. Type more to narrow them down.";
   "More than 48,000" where nobody counted them. */
std::string answer_sentence(const Answer& answer, const NumberStyle& style);

/* "today, 14:03", "yesterday, 14:03", or with the date: how long ago names were read. */
std::string moment_words(int days_ago, const std::string& date, const std::string& time);

/* "Reading the disk: 240,128 names", "Names of today, 14:03". `moment` is when the names were
   read, "" when nobody knows; `scope` as users read it. */
std::string index_sentence(const IndexReport& report, const std::string& moment,
                           const std::string& scope, const NumberStyle& style);

/* "312 skipped", "" when nothing was. */
std::string skipped_words(const IndexReport& report, const NumberStyle& style);

/* All about the index in a few lines, for the box that tells more. */
std::string index_details(const IndexReport& report, const std::string& moment,
                          const std::string& scope, const std::string& cache_path,
                          const NumberStyle& style);

/* What a user can be told when something cannot be done. */
std::string vanished_sentence(const std::string& name);
std::string not_opened_sentence(const std::string& name, const std::string& reason);
inline constexpr const char* kNoMemorySentence = "There is not enough memory for this.";
inline constexpr const char* kSearchFailedSentence =
    "The search failed: there is not enough memory.";

}  // namespace window
