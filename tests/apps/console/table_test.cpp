#include "model/table.hpp"

#include <gtest/gtest.h>

namespace console {
namespace {

/* A clock of its own, so that no time zone enters the tests. */
bool fixed_time(std::int64_t unix_seconds, WallTime& local) {
    if (unix_seconds < 0) return false;
    local = {2024, 5, static_cast<int>(unix_seconds), 14, 34};
    return true;
}

constexpr std::uint32_t kBoth = SS_METADATA_SIZE | SS_METADATA_MODIFIED;

Answer answer_of(std::vector<Result> results) {
    Answer answer = {};
    answer.results = std::move(results);
    return answer;
}

TEST(Table, columns_are_as_wide_as_their_widest_text) {
    const Answer answer = answer_of({
        {"C:/a", SS_KIND_FOLDER, {0, 2, SS_METADATA_MODIFIED, 0}},
        {"C:/a/long name", SS_KIND_FILE, {1536, 11, kBoth, 0}},
    });
    EXPECT_EQ(format_table(answer, fixed_time, 0),
              "Path            Kind       Size  Modified\n"
              "C:/a            folder        -  2024-05-02 14:34\n"
              "C:/a/long name  file    1.5 KiB  2024-05-11 14:34\n");
}

TEST(Table, columns_are_measured_in_code_points) {
    const Answer answer = answer_of({
        {"C:/\u00E9\u00E9\u00E9", SS_KIND_FILE, {1, 2, kBoth, 0}},
        {"C:/abc", SS_KIND_FILE, {1, 2, kBoth, 0}},
    });
    EXPECT_EQ(format_table(answer, fixed_time, 0),
              "Path    Kind  Size  Modified\n"
              "C:/\u00E9\u00E9\u00E9  file   1 B  2024-05-02 14:34\n"
              "C:/abc  file   1 B  2024-05-02 14:34\n");
}

TEST(Table, what_is_unknown_is_a_dash) {
    const Answer answer = answer_of({
        {"C:/gone", SS_KIND_FILE, {}},
        {"C:/old", SS_KIND_FILE, {7, -1, kBoth, 0}},
    });
    EXPECT_EQ(format_table(answer, fixed_time, 0),
              "Path     Kind  Size  Modified\n"
              "C:/gone  file     -  -\n"
              "C:/old   file   7 B  -\n");
}

TEST(Table, a_long_path_on_a_terminal_pushes_its_own_row_only) {
    const Answer answer = answer_of({
        {"C:/a", SS_KIND_FILE, {1, 2, kBoth, 0}},
        {"C:/" + std::string(30, 'x'), SS_KIND_FILE, {1, 2, kBoth, 0}},
    });
    EXPECT_EQ(format_table(answer, fixed_time, 51),
              "Path                  Kind  Size  Modified\n"
              "C:/a                  file   1 B  2024-05-02 14:34\n"
              "C:/xxxxxxxxxxxxxxxxxxxxxxxxxxxxxx  file   1 B  2024-05-02 14:34\n");
}

TEST(Table, a_control_character_in_a_name_does_not_break_the_row) {
    const Answer answer = answer_of({{"C:/a\nb", SS_KIND_FILE, {}}});
    EXPECT_EQ(format_table(answer, fixed_time, 0),
              "Path    Kind  Size  Modified\n"
              "C:/a?b  file     -  -\n");
}

TEST(Table, without_results_there_is_no_heading) {
    EXPECT_EQ(format_table(answer_of({}), fixed_time, 0), "");
}

TEST(Table, the_summary_tells_how_many_of_how_many) {
    struct Case {
        std::uint32_t matched, count;
        const char* text;
    };
    for (const Case& c : std::initializer_list<Case>{
             {0, 0, "No matches, 3.2 ms"},
             {1, 1, "1 match, 3.2 ms"},
             {17, 17, "17 matches, 3.2 ms"},
             {17, 5, "5 of 17 matches, 3.2 ms"},
             {24310, 1000, "1000 of 24,310 matches, 3.2 ms"},
         }) {
        Answer answer = {};
        answer.status.matched = c.matched;
        answer.status.count = c.count;
        answer.milliseconds = 3.2;
        EXPECT_EQ(format_summary(answer), c.text);
    }
}

}  // namespace
}  // namespace console
