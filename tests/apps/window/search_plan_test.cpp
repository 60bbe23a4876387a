#include "model/search_plan.hpp"

#include <gtest/gtest.h>

namespace window {
namespace {

using std::chrono::milliseconds;

constexpr SearchPlan::Time kStart{std::chrono::hours(1)};
constexpr std::uint32_t kFew = 40;
constexpr bool kHoldsAll = true;

using Limit = std::optional<std::uint32_t>;

TEST(SearchPlan, nothing_is_due_before_anything_was_asked) {
    const SearchPlan plan;
    EXPECT_EQ(plan.due(kStart, kFew), Limit());
    EXPECT_FALSE(plan.is_waiting());
}

TEST(SearchPlan, a_key_asks_at_once_for_what_the_list_shows) {
    SearchPlan plan;
    plan.ask(kStart);
    EXPECT_EQ(plan.due(kStart, kFew), Limit(kFew));
    EXPECT_EQ(plan.due(kStart, 0), Limit(1));
    EXPECT_EQ(plan.due(kStart, 5000), Limit(SS_MAX_RESULTS));
}

TEST(SearchPlan, a_key_does_not_wait_for_the_query_of_the_last_one) {
    SearchPlan plan;
    plan.ask(kStart);
    plan.started(kFew);
    EXPECT_EQ(plan.due(kStart, kFew), Limit());
    plan.ask(kStart + milliseconds(1));
    EXPECT_EQ(plan.due(kStart + milliseconds(1), kFew), Limit(kFew));
}

TEST(SearchPlan, the_thousand_are_asked_for_when_typing_pauses) {
    SearchPlan plan;
    plan.ask(kStart);
    plan.started(kFew);
    plan.finished(!kHoldsAll, kStart + milliseconds(3));
    EXPECT_TRUE(plan.is_waiting());
    EXPECT_EQ(plan.due(kStart + SearchPlan::kPause - milliseconds(1), kFew), Limit());
    EXPECT_EQ(plan.due(kStart + SearchPlan::kPause, kFew), Limit(SS_MAX_RESULTS));
    plan.started(SS_MAX_RESULTS);
    plan.finished(!kHoldsAll, kStart + milliseconds(200));
    EXPECT_FALSE(plan.is_waiting());
    EXPECT_EQ(plan.due(kStart + milliseconds(9000), kFew), Limit());
}

TEST(SearchPlan, an_answer_that_holds_all_asks_for_no_more) {
    SearchPlan plan;
    plan.ask(kStart);
    plan.started(kFew);
    plan.finished(kHoldsAll, kStart);
    EXPECT_FALSE(plan.is_waiting());
    EXPECT_EQ(plan.due(kStart + SearchPlan::kPause, kFew), Limit());
}

TEST(SearchPlan, a_grown_index_is_asked_again_after_a_rest_for_as_many_as_before) {
    SearchPlan plan;
    plan.ask(kStart);
    plan.started(SS_MAX_RESULTS);
    plan.index_changed();
    EXPECT_EQ(plan.due(kStart + SearchPlan::kRest, kFew), Limit()) << "a query runs";
    plan.finished(kHoldsAll, kStart + SearchPlan::kRest);
    EXPECT_EQ(plan.due(kStart + SearchPlan::kRest, kFew), Limit());
    EXPECT_TRUE(plan.is_waiting());
    EXPECT_EQ(plan.due(kStart + 2 * SearchPlan::kRest, kFew), Limit(SS_MAX_RESULTS));
}

TEST(SearchPlan, growth_before_a_query_starts_is_covered_by_it) {
    SearchPlan plan;
    plan.index_changed();
    plan.ask(kStart);
    plan.started(kFew);
    plan.finished(kHoldsAll, kStart);
    EXPECT_FALSE(plan.is_waiting());
}

TEST(SearchPlan, a_growing_list_becomes_larger_with_its_window) {
    SearchPlan plan;
    plan.ask(kStart);
    plan.started(10);
    plan.finished(kHoldsAll, kStart);
    plan.index_changed();
    EXPECT_EQ(plan.due(kStart + SearchPlan::kRest, kFew), Limit(kFew));
}

TEST(Question, a_text_with_a_separator_is_meant_for_whole_paths) {
    EXPECT_FALSE((Question{"a.txt"}).matches_path());
    EXPECT_TRUE((Question{"src/a"}).matches_path());
    EXPECT_TRUE((Question{"a", ss::Kind::kAny, false, true}).matches_path());
}

TEST(Question, a_filter_says_what_the_question_says) {
    const Question question{"a", ss::Kind::kFolder, true, true};
    EXPECT_EQ(question.filter(7).limit, 7u);
    EXPECT_EQ(question.filter(7).kind, ss::Kind::kFolder);
    EXPECT_EQ(question.filter(7).match, ss::Match::kPathAndCase);
    EXPECT_EQ((Question{"a"}).filter(1).match, ss::Match::kName);
    EXPECT_EQ((Question{"a", ss::Kind::kAny, true}).filter(1).match, ss::Match::kCase);
}

}  // namespace
}  // namespace window
