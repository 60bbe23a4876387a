#include "model/json.hpp"

#include <gtest/gtest.h>

namespace console {
namespace {

using namespace std::string_literals;

TEST(Json, strings_are_escaped_where_they_must_be) {
    EXPECT_EQ(json_string(""), R"("")");
    EXPECT_EQ(json_string("C:/a b"), R"("C:/a b")");
    EXPECT_EQ(json_string("\"\\"), R"("\"\\")");
    EXPECT_EQ(json_string("\n\r\t\x01\x1F"), R"("\n\r\t\u0001\u001f")");
    EXPECT_EQ(json_string("\0"s), R"("\u0000")");
    EXPECT_EQ(json_string("\u00E9\u65E5\U0001F600"), "\"\u00E9\u65E5\U0001F600\"");
}

TEST(Json, bytes_that_are_not_utf8_are_replaced) {
    EXPECT_EQ(json_string("a\xFF"
                          "b"),
              "\"a\uFFFD"
              "b\"");
    EXPECT_EQ(json_string("\xE6\x97"), "\"\uFFFD\uFFFD\"");
    EXPECT_EQ(json_string("\xE6\x97z"), "\"\uFFFD\uFFFDz\"");
}

TEST(Json, an_answer_is_one_line) {
    Answer answer = {};
    answer.text = "re";
    answer.status = {SS_QUERY_DONE, 24310, 2, 80000, 1};
    answer.milliseconds = 3.2144;
    answer.results = {
        {"C:/read.me", SS_KIND_FILE, {5368709120, -1, SS_METADATA_SIZE | SS_METADATA_MODIFIED, 0}},
        {"C:/re", SS_KIND_FOLDER, {0, 1700000000, SS_METADATA_MODIFIED, 0}},
        {"C:/gone.re", SS_KIND_FILE, {}},
    };
    EXPECT_EQ(answer_json(answer),
              R"({"text":"re","matched":24310,"count":2,"index_entries":80000,)"
              R"("index_incomplete":true,"milliseconds":3.214,"results":[)"
              R"({"path":"C:/read.me","kind":"file","size":5368709120,"modified":-1},)"
              R"({"path":"C:/re","kind":"folder","size":null,"modified":1700000000},)"
              R"({"path":"C:/gone.re","kind":"file","size":null,"modified":null}]})"
              "\n");
}

TEST(Json, an_empty_answer_has_an_empty_list) {
    Answer answer = {};
    EXPECT_EQ(answer_json(answer),
              R"({"text":"","matched":0,"count":0,"index_entries":0,"index_incomplete":false,)"
              R"("milliseconds":0.000,"results":[]})"
              "\n");
}

TEST(Json, each_build_state_has_its_word) {
    const char* const kWords[] = {"idle", "running", "ready", "cancelled", "failed"};
    for (std::uint32_t state = SS_ENGINE_IDLE; state <= SS_ENGINE_FAILED; ++state) {
        const EngineStatus status = {state, 12, 3, 1, 0};
        EXPECT_EQ(build_json(status, 1500, "A \"reason\"."),
                  std::string(R"({"state":")") + kWords[state] +
                      R"(","entries":12,"skipped":3,"limited":true,"from_cache":false,)"
                      R"("milliseconds":1500.000,"error":"A \"reason\"."})"
                      "\n");
    }
}

}  // namespace
}  // namespace console
