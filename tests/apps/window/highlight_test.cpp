#include "model/highlight.hpp"

#include <gtest/gtest.h>

#include <string>

#include "model/paths.hpp"

namespace window {
namespace {

/* The name with its marked parts in brackets. */
std::string marked(std::string_view path, std::string_view text, bool whole_path = false,
                   bool match_case = false) {
    std::string shown(name_of(path));
    const Question question{std::string(text), ss::Kind::kAny, match_case, whole_path};
    const std::vector<Range> ranges = highlight(path, phrase(question));
    for (auto range = ranges.rbegin(); range != ranges.rend(); ++range) {
        shown.insert(range->end, "]");
        shown.insert(range->begin, "[");
    }
    return shown;
}

TEST(Highlight, a_plain_text_is_marked_where_it_first_occurs) {
    EXPECT_EQ(marked("C:/My Report of reports.txt", "report"), "My [Report] of reports.txt");
    EXPECT_EQ(marked("C:/report", "report"), "[report]");
    EXPECT_EQ(marked("C:/report", "reporter"), "report");
    EXPECT_EQ(marked("C:/report", ""), "report");
}

TEST(Highlight, case_counts_when_it_should) {
    EXPECT_EQ(marked("C:/Report report", "report", false, true), "Report [report]");
    EXPECT_EQ(marked("C:/REPORT", "report", false, true), "REPORT");
    EXPECT_EQ(marked("C:/REPORT", "rePort"), "[REPORT]");
}

TEST(Highlight, letters_beyond_ascii_match_in_both_cases_unless_case_matters) {
    EXPECT_EQ(marked("C:/Été", "é"), "[É]té");
    EXPECT_EQ(marked("C:/Überstunden.xlsx", "überstunden"), "[Überstunden].xlsx");
    EXPECT_EQ(marked("C:/ОТЧЁТ.doc", "*отчёт*"), "[ОТЧЁТ].doc");
    EXPECT_EQ(marked("C:/Été", "é", false, true), "Ét[é]");
}

TEST(Highlight, each_of_several_words_is_marked_at_a_place_of_its_own) {
    EXPECT_EQ(marked("C:/march invoice final.docx", "final march"), "[march] invoice [final].docx");
    EXPECT_EQ(marked("C:/banana.txt", "an an"), "b[an][an]a.txt");
    EXPECT_EQ(marked("C:/reportal", "report portal"), "reportal");
    EXPECT_EQ(marked("C:/d c b a.txt", "a b c d"), "[d] [c] [b] [a].txt");
    EXPECT_EQ(marked("C:/Übung Final", "final übung"), "[Übung] [Final]");
}

TEST(Highlight, words_of_a_whole_path_are_marked_in_the_name_where_that_has_them_all) {
    EXPECT_EQ(marked("C:/final/march final.doc", "final march", true), "[march] [final].doc");
    EXPECT_EQ(marked("C:/final/march.doc", "final march", true), "[march].doc");
}

TEST(Highlight, in_quotes_words_are_one_text) {
    EXPECT_EQ(marked("C:/march final.doc", "\"march final\""), "[march final].doc");
    EXPECT_EQ(marked("C:/final march.doc", "\"march final\""), "final march.doc");
}

TEST(Highlight, of_a_pattern_the_letters_are_marked_and_what_a_star_swallows_is_not) {
    EXPECT_EQ(marked("C:/notes.txt", "*.txt"), "notes[.txt]");
    EXPECT_EQ(marked("C:/aXbYc", "a*b*c"), "[a]X[b]Y[c]");
    EXPECT_EQ(marked("C:/abc", "a*b*c"), "[abc]");
    EXPECT_EQ(marked("C:/report-report.txt", "*report.txt"), "report-[report.txt]");
    EXPECT_EQ(marked("C:/anything", "*"), "anything");
    EXPECT_EQ(marked("C:/a", "a**"), "[a]");
}

TEST(Highlight, a_question_mark_is_one_whole_character) {
    EXPECT_EQ(marked("C:/report1.txt", "report?.txt"), "[report1.txt]");
    EXPECT_EQ(marked("C:/\xC3\xA9.txt", "?.txt"), "[\xC3\xA9.txt]");
    EXPECT_EQ(marked("C:/x\xF0\x9F\x98\x80y", "*?y"), "x[\xF0\x9F\x98\x80y]");
}

TEST(Highlight, a_pattern_that_does_not_match_marks_nothing) {
    EXPECT_EQ(marked("C:/notes.txt.bak", "*.txt"), "notes.txt.bak");
    EXPECT_EQ(marked("C:/acb", "a*b*c"), "acb");
    EXPECT_EQ(marked("C:/a", "a?"), "a");
}

TEST(Highlight, of_a_whole_path_the_part_within_the_name_is_marked) {
    EXPECT_EQ(marked("C:/docs/my doc", "doc", true), "my [doc]");
    EXPECT_EQ(marked("C:/docs/a.txt", "doc", true), "a.txt");
    EXPECT_EQ(marked("C:/docs/a.txt", "docs/a", true), "[a].txt");
    EXPECT_EQ(marked("C:/src/main.c", "*/src/*.c", true), "main[.c]");
    EXPECT_EQ(marked("C:/src/main.c", "c:/src/main.c", true), "[main.c]");
    EXPECT_EQ(marked("C:/src/main.c", "c:/src/main.c", true, true), "main.c");
}

TEST(Highlight, ranges_convert_to_utf16_units) {
    const std::string name = "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80z";  // 1, 1, 1, 2 and 1 units
    EXPECT_EQ(in_utf16({{0, 1}, {1, 6}, {6, 10}, {10, 11}}, name),
              (std::vector<Range>{{0, 1}, {1, 3}, {3, 5}, {5, 6}}));
}

TEST(Highlight, every_small_pattern_marks_nothing_outside_the_name_and_only_when_it_matches) {
    const std::string signs = "ab*?";
    std::vector<std::string> texts{""};
    for (std::size_t i = 0; i < texts.size() && texts[i].size() < 4; ++i) {
        for (char sign : signs) texts.push_back(texts[i] + sign);
    }
    for (const std::string& name : {std::string("a"), std::string("abab"), std::string("bb")}) {
        for (const std::string& text : texts) {
            std::size_t last = 0;
            for (const Range& range : highlight("C:/" + name, phrase({text}))) {
                EXPECT_LE(last, range.begin) << name << " " << text;
                EXPECT_LT(range.begin, range.end) << name << " " << text;
                EXPECT_LE(range.end, name.size()) << name << " " << text;
                last = range.end;
            }
        }
    }
}

}  // namespace
}  // namespace window
