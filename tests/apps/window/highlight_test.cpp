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
    const std::vector<Range> ranges = highlight(path, text, whole_path, match_case);
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

TEST(Highlight, letters_beyond_ascii_match_as_they_are) {
    EXPECT_EQ(marked("C:/\xC3\x89t\xC3\xA9", "\xC3\xA9"), "\xC3\x89t[\xC3\xA9]");
    EXPECT_EQ(marked("C:/\xC3\x89", "\xC3\xA9"), "\xC3\x89");
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
            for (const Range& range : highlight("C:/" + name, text, false, false)) {
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
