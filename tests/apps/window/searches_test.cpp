#include "model/searches.hpp"

#include <new>
#include <string>
#include <vector>

#include "session_test_support.hpp"

namespace window {
namespace {

using namespace system_search::simulated;  // NOLINT(google-build-using-namespace): the volume
using std::chrono::milliseconds;

constexpr std::uint32_t kFew = 10;
constexpr SearchPlan::Time kStart{std::chrono::hours(1)};

class SearchesTest : public VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        add_generated_folder(u"C:\\disk", numbered_files(1500));
        engine_ = ss::Engine::create();
        ASSERT_TRUE(engine_.start("C:/disk"));
        ASSERT_TRUE(
            comes_true([this] { return engine_.progress().state == ss::EngineState::kReady; }));
    }
    void TearDown() override {
        searches_.stop();
        discarded_.clear();
        engine_.reset();
        VolumeTest::TearDown();
    }

    /* Ticks at one moment until an answer is there. */
    std::optional<Found> answer(Searches& searches, SearchPlan::Time now) {
        std::optional<Found> found;
        EXPECT_TRUE(comes_true([&] {
            found = searches.tick(engine_, kFew, now);
            return found.has_value();
        }));
        return found;
    }

    ss::Engine engine_;
    std::vector<ss::Query> discarded_;
    Searches searches_{[this](ss::Query query) { discarded_.push_back(std::move(query)); }};
};

TEST_F(SearchesTest, nothing_is_searched_before_a_question) {
    EXPECT_FALSE(searches_.tick(engine_, kFew, kStart));
    EXPECT_FALSE(searches_.is_running());
}

TEST_F(SearchesTest, the_first_answer_holds_what_the_list_shows_and_the_next_the_thousand) {
    searches_.ask({"f"}, kStart);
    const auto first = answer(searches_, kStart);
    ASSERT_TRUE(first);
    EXPECT_TRUE(first->is_new);
    EXPECT_EQ(first->question.text, "f");
    EXPECT_EQ(first->rows.total(), (Total{1500, Bound::kExact}));
    EXPECT_EQ(first->rows.size(), kFew);
    EXPECT_EQ(first->searched, 1500u);
    EXPECT_FALSE(searches_.tick(engine_, kFew, kStart + milliseconds(1)));
    EXPECT_FALSE(searches_.is_running());
    const auto second = answer(searches_, kStart + SearchPlan::kPause);
    ASSERT_TRUE(second);
    EXPECT_FALSE(second->is_new);
    EXPECT_EQ(second->rows.size(), 1000u);
    EXPECT_FALSE(searches_.is_waiting());
}

TEST_F(SearchesTest, another_question_drops_the_query_that_runs) {
    searches_.ask({"f"}, kStart);
    EXPECT_FALSE(searches_.tick(engine_, kFew, kStart));
    EXPECT_TRUE(searches_.is_running());
    searches_.ask({"f0000000"}, kStart);
    EXPECT_FALSE(searches_.is_running());
    EXPECT_EQ(discarded_.size(), 1u);
    const auto found = answer(searches_, kStart);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->question.text, "f0000000");
    EXPECT_EQ(found->rows.total().matched, 10u);
}

TEST_F(SearchesTest, the_same_question_is_not_asked_twice_unless_told_to) {
    searches_.ask({"f00000001"}, kStart);
    ASSERT_TRUE(answer(searches_, kStart));
    searches_.ask({"f00000001"}, kStart);
    EXPECT_FALSE(searches_.is_waiting());
    searches_.ask_again(kStart);
    const auto found = answer(searches_, kStart);
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->is_new);
}

TEST_F(SearchesTest, a_changed_index_gives_an_answer_that_is_not_new) {
    searches_.ask({"f00000001"}, kStart);
    ASSERT_TRUE(answer(searches_, kStart));
    searches_.index_changed();
    EXPECT_FALSE(searches_.tick(engine_, kFew, kStart));
    const auto found = answer(searches_, kStart + SearchPlan::kRest);
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->is_new);
}

TEST_F(SearchesTest, no_thread_for_a_query_is_a_failed_answer_and_the_next_question_works) {
    searches_.ask({"f"}, kStart);
    fail_platform_call(1, system_search::platform::kAccessDenied, kStartThread);
    const auto failed = searches_.tick(engine_, kFew, kStart);
    forget_call_plans();
    ASSERT_TRUE(failed);
    EXPECT_TRUE(failed->failed);
    EXPECT_EQ(failed->rows.size(), 0u);
    EXPECT_FALSE(searches_.is_running());
    EXPECT_FALSE(searches_.is_waiting());
    searches_.ask({"f1"}, kStart);
    const auto found = answer(searches_, kStart);
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->failed);
}

TEST_F(SearchesTest, no_memory_for_a_query_is_told_and_the_next_question_works) {
    std::uint64_t nth = 1;
    for (;; ++nth) {
        searches_.ask({"a" + std::to_string(nth)}, kStart);
        std::optional<Found> found;
        bool threw = false;
        {
            const AllocationFault fault(nth);
            try {
                found = searches_.tick(engine_, kFew, kStart);
            } catch (const std::bad_alloc&) {
                threw = true;  // the window has a sentence for it
            }
        }
        if (searches_.is_running()) break;
        EXPECT_TRUE(threw || (found && found->failed)) << nth;
    }
    EXPECT_GT(nth, 1u);
    searches_.ask({"b"}, kStart);
    const auto found = answer(searches_, kStart);
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->failed);
}

TEST_F(SearchesTest, several_words_are_several_queries_with_one_answer) {
    searches_.ask({"01 f0000"}, kStart);
    EXPECT_FALSE(searches_.tick(engine_, kFew, kStart));
    const auto found = answer(searches_, kStart);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->phrasing.questions.size(), 2u);
    // Of "f00000000" to "f00001499", those with "01" behind "f0000".
    EXPECT_EQ(found->rows.total(), (Total{134, Bound::kMoreThan}));
    EXPECT_EQ(found->rows.size(), kFew);
    EXPECT_EQ(found->rows[0].path, "C:/disk/f00000001");
    const auto all = answer(searches_, kStart + SearchPlan::kPause);
    ASSERT_TRUE(all);
    EXPECT_EQ(all->rows.total(), (Total{134, Bound::kExact}));
    EXPECT_EQ(all->rows.size(), 134u);
}

TEST_F(SearchesTest, another_question_drops_each_of_the_queries_that_run) {
    searches_.ask({"01 f0000"}, kStart);
    EXPECT_FALSE(searches_.tick(engine_, kFew, kStart));
    searches_.ask({"f"}, kStart);
    EXPECT_FALSE(searches_.is_running());
    EXPECT_EQ(discarded_.size(), 2u);
}

TEST_F(SearchesTest, of_four_words_the_rows_are_held_to_all_and_the_thousand_are_asked_at_once) {
    searches_.ask({"f 0 0 7"}, kStart);
    const auto found = answer(searches_, kStart);
    ASSERT_TRUE(found);
    EXPECT_TRUE(found->phrasing.holds_rows);
    EXPECT_GT(found->rows.size(), kFew);
    for (std::size_t i = 0; i < found->rows.size(); ++i) {
        EXPECT_NE(found->rows[i].path.find('7'), std::string_view::npos);
    }
    EXPECT_EQ(found->rows.total().bound, Bound::kAtLeast);
}

TEST_F(SearchesTest, no_thread_for_the_second_query_gives_back_the_first) {
    searches_.ask({"01 f0000"}, kStart);
    fail_platform_call(2, system_search::platform::kAccessDenied, kStartThread);
    const auto failed = searches_.tick(engine_, kFew, kStart);
    forget_call_plans();
    ASSERT_TRUE(failed);
    EXPECT_TRUE(failed->failed);
    EXPECT_EQ(discarded_.size(), 1u);
    EXPECT_FALSE(searches_.is_running());
}

TEST_F(SearchesTest, an_engine_that_could_not_be_made_is_a_failed_answer) {
    searches_.ask({"f"}, kStart);
    const auto failed = searches_.tick(ss::Engine(), kFew, kStart);
    ASSERT_TRUE(failed);
    EXPECT_TRUE(failed->failed);
}

}  // namespace
}  // namespace window
