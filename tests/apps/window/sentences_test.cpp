#include "model/sentences.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

const NumberStyle kStyle;

IndexReport ready(std::uint32_t entries) {
    IndexReport report;
    report.phase = IndexPhase::kReady;
    report.entries = entries;
    return report;
}

std::string about(const IndexReport& report) {
    return index_sentence(report, "today, 14:03", "C:\\x", kStyle);
}

TEST(Sentences, an_answer_tells_how_many_of_how_many_and_how_long) {
    EXPECT_EQ(answer_sentence({{23}, 1204551, 3.1, false}, kStyle), "23 of 1,204,551 names, 3 ms");
    EXPECT_EQ(answer_sentence({{1}, 1, 0.2, true}, kStyle), "1 of 1 name, 1 ms");
    EXPECT_EQ(answer_sentence({{0}, 0, 0, false}, kStyle), "0 of 0 names, 1 ms");
    EXPECT_EQ(answer_sentence({{1000}, 5000, 9, true}, kStyle), "1000 of 5000 names, 9 ms");
}

TEST(Sentences, an_answer_that_is_not_all_says_so_and_what_helps) {
    EXPECT_EQ(answer_sentence({{48213}, 1204551, 3, false}, kStyle),
              "The first 1000 of 48,213. Type more to narrow them down.");
    EXPECT_EQ(answer_sentence({{1001}, 1204551, 3, true}, kStyle),
              "The first 1000 of 1001, sorted among themselves. Type more to narrow them down.");
}

TEST(Sentences, a_number_that_nobody_counted_is_a_bound) {
    EXPECT_EQ(answer_sentence({{31, Bound::kMoreThan}, 5000, 3, false}, kStyle),
              "More than 30 of 5000 names, 3 ms");
    EXPECT_EQ(answer_sentence({{48213, Bound::kMoreThan}, 1204551, 3, false}, kStyle),
              "The first 1000 of more than 48,000. Type more to narrow them down.");
    EXPECT_EQ(answer_sentence({{5000, Bound::kMoreThan}, 1204551, 3, true}, kStyle),
              "The first 1000 of more than 4900, sorted among themselves. "
              "Type more to narrow them down.");
    EXPECT_EQ(answer_sentence({{1001, Bound::kMoreThan}, 1204551, 3, false}, kStyle),
              "The first 1000 of more than 1000. Type more to narrow them down.");
    EXPECT_EQ(answer_sentence({{12, Bound::kAtLeast}, 5000, 3, false}, kStyle),
              "At least 12 of 5000 names, 3 ms");
    EXPECT_EQ(answer_sentence({{0, Bound::kAtLeast}, 5000, 3, false}, kStyle),
              "Too many names have the three longest words. Make one of the words longer.");
}

TEST(Sentences, letters_that_were_not_asked_in_both_cases_are_told) {
    EXPECT_EQ(answer_sentence({{2}, 5000, 3, false, /*all_cases=*/false}, kStyle),
              "2 of 5000 names, 3 ms. Not every upper and lower case was tried.");
    EXPECT_EQ(answer_sentence({{2000}, 5000, 3, false, /*all_cases=*/false}, kStyle),
              "The first 1000 of 2000. Type more to narrow them down. "
              "Not every upper and lower case was tried.");
}

TEST(Sentences, who_finds_nothing_is_told_what_may_help) {
    const auto hint = [](const Question& question) {
        return empty_list_hint(question, phrase(question));
    };
    EXPECT_EQ(answer_sentence({{0}, 5000, 3, false, true, hint({"xyz"})}, kStyle),
              "0 of 5000 names, 3 ms. A shorter text finds more.");
    EXPECT_EQ(answer_sentence({{1}, 5000, 3, false, true, hint({"xyz"})}, kStyle),
              "1 of 5000 names, 3 ms");
    EXPECT_NE(hint({"report?"}).find("whole name"), std::string::npos);
    EXPECT_NE(hint({"docs/*.txt"}).find("end of the path"), std::string::npos);
    EXPECT_EQ(hint({"*report*"}), "A shorter text finds more.");
    EXPECT_NE(hint({"final march"}).find("in the name"), std::string::npos);
    EXPECT_NE(hint({"a b", ss::Kind::kAny, false, true}).find("in the path"), std::string::npos);
    EXPECT_NE(hint({"\"final march\""}).find("quotes"), std::string::npos);
    EXPECT_EQ(hint({"a", ss::Kind::kFile}), "Only files are looked for.");
    EXPECT_EQ(hint({"a", ss::Kind::kFolder}), "Only folders are looked for.");
    EXPECT_EQ(hint({"a", ss::Kind::kAny, true}), "\"Match case\" is on.");
    EXPECT_FALSE(hint({""}).empty());
}

TEST(Sentences, a_moment_is_told_by_its_day) {
    EXPECT_EQ(moment_words(0, "3 May 2024", "14:03"), "today, 14:03");
    EXPECT_EQ(moment_words(1, "3 May 2024", "14:03"), "yesterday, 14:03");
    EXPECT_EQ(moment_words(2, "3 May 2024", "14:03"), "3 May 2024, 14:03");
    EXPECT_EQ(moment_words(-1, "3 May 2024", "14:03"), "3 May 2024, 14:03");
}

TEST(Sentences, the_index_tells_what_it_does) {
    IndexReport report;
    EXPECT_EQ(about(report), "Loading the names of today, 14:03");
    EXPECT_EQ(index_sentence(report, "", "C:\\x", kStyle), "Loading the names");
    report.phase = IndexPhase::kReading;
    report.entries = 240128;
    EXPECT_EQ(about(report), "Reading the disk: 240,128 names");
    EXPECT_EQ(about(ready(5)), "Names of today, 14:03");
    EXPECT_EQ(index_sentence(ready(5), "", "C:\\x", kStyle), "5 names");
    report.phase = IndexPhase::kStopped;
    EXPECT_EQ(about(report), "Stopped after 240,128 names");
}

TEST(Sentences, an_index_that_is_read_anew_says_so) {
    IndexReport report = ready(5);
    report.refreshing = true;
    report.refreshed_entries = 240128;
    EXPECT_EQ(about(report), "Names of today, 14:03. Reading the disk: 240,128 names");
}

TEST(Sentences, a_reading_that_is_to_be_followed_by_another_says_so) {
    IndexReport report;
    report.phase = IndexPhase::kReading;
    report.entries = 1;
    report.once_more = true;
    EXPECT_EQ(about(report), "Reading the disk: 1 name, then once more");
    report = ready(5);
    report.refreshing = true;
    report.once_more = true;
    EXPECT_EQ(about(report), "Names of today, 14:03. Reading the disk: 0 names, then once more");
}

TEST(Sentences, trouble_of_the_index_is_told) {
    IndexReport failed;
    failed.phase = IndexPhase::kFailed;
    failed.trouble = "The selected folder is unavailable.";
    EXPECT_EQ(about(failed), "Cannot read C:\\x: The selected folder is unavailable.");
    failed.refreshing = true;
    EXPECT_EQ(about(failed),
              "Cannot read C:\\x: The selected folder is unavailable. Reading the disk: 0 names");

    IndexReport report = ready(5);
    report.trouble = "Index is usable, but its cache could not be saved.";
    EXPECT_EQ(about(report), "Names of today, 14:03. They could not be kept for the next time.");
    report = ready(5);
    report.refresh_trouble = "The selected folder is unavailable.";
    EXPECT_EQ(about(report),
              "Names of today, 14:03. Not read anew: The selected folder is unavailable.");
    report = ready(5000000);
    report.limited = true;
    EXPECT_EQ(about(report), "Names of today, 14:03, the most that the index holds");
}

TEST(Sentences, what_was_skipped_is_counted_and_explained) {
    IndexReport report = ready(5);
    EXPECT_EQ(skipped_words(report, kStyle), "");
    EXPECT_EQ(index_details(report, "today, 14:03", "C:\\x", "C:\\y.index", kStyle),
              "C:\\x: 5 names.\nNames of today, 14:03.\n\nNothing was skipped.\n\n"
              "The names are kept in C:\\y.index");
    report.skipped = 12345;
    report.limited = true;
    EXPECT_EQ(skipped_words(report, kStyle), "12,345 skipped");
    const std::string details = index_details(report, "", "C:\\x", "y", kStyle);
    EXPECT_NE(details.find("12,345 items were skipped: folders that may not be read"),
              std::string::npos);
    EXPECT_NE(details.find("at most 5,000,000 names"), std::string::npos);
    report.skipped = 1;
    EXPECT_NE(index_details(report, "", "C:\\x", "y", kStyle).find("1 item was skipped:"),
              std::string::npos);
}

TEST(Sentences, trouble_with_a_result_names_it) {
    EXPECT_EQ(vanished_sentence("a.txt"), "\"a.txt\" is not there any more.");
    EXPECT_EQ(not_opened_sentence("a.txt", ""), "\"a.txt\" could not be opened.");
    EXPECT_EQ(not_opened_sentence("a.txt", "Access denied."),
              "\"a.txt\" could not be opened: Access denied.");
}

}  // namespace
}  // namespace window
