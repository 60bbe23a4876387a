#include "model/sentences.hpp"

#include <gtest/gtest.h>

namespace console {
namespace {

TEST(Sentences, progress_tells_entries_skipped_seconds_and_rate) {
    EXPECT_EQ(progress_text({SS_ENGINE_RUNNING, 24310, 3, 0, 0}, 1.25),
              "24,310 entries, 3 skipped, 1.2 s, 19,448 entries/s");
    EXPECT_EQ(progress_text({SS_ENGINE_RUNNING, 0, 0, 0, 0}, 0),
              "0 entries, 0 skipped, 0.0 s, 0 entries/s");
}

TEST(Sentences, a_finished_walk_is_summed_up) {
    EXPECT_EQ(build_summary({SS_ENGINE_READY, 24310, 3, 0, 0}, 1250),
              "Indexed 24,310 entries in 1.2 s (19,448 entries/s), 3 skipped.");
    EXPECT_EQ(build_summary({SS_ENGINE_READY, 1, 0, 0, 0}, 100),
              "Indexed 1 entry in 0.1 s (10 entries/s), 0 skipped.");
}

TEST(Sentences, a_loaded_index_says_that_it_came_from_the_cache) {
    EXPECT_EQ(build_summary({SS_ENGINE_READY, 24310, 3, 0, 1}, 12.3),
              "Loaded 24,310 entries from the cache in 12 ms, 3 skipped when it was made.");
}

TEST(Sentences, a_limited_index_says_what_limit_it_met) {
    EXPECT_EQ(build_summary({SS_ENGINE_READY, 5000000, 0, 1, 1}, 800),
              "Loaded 5,000,000 entries from the cache in 800 ms, 0 skipped when it was made. The "
              "index is not the whole: it stopped at its size limit (5,000,000 entries or 1 GiB of "
              "memory).");
}

TEST(Sentences, a_cancelled_build_says_how_far_it_came) {
    EXPECT_EQ(build_summary({SS_ENGINE_CANCELLED, 12288, 3, 0, 0}, 420),
              "Cancelled after 0.4 s: 12,288 entries, 3 skipped.");
}

TEST(Sentences, an_incomplete_index_has_a_reason) {
    EXPECT_EQ(incomplete_reason({SS_ENGINE_RUNNING, 12288, 0, 0, 0}),
              "it is still being built, 12,288 entries so far");
    EXPECT_EQ(incomplete_reason({SS_ENGINE_READY, 5000000, 0, 1, 0}),
              "it stopped at its size limit (5,000,000 entries or 1 GiB of memory)");
    EXPECT_EQ(incomplete_reason({SS_ENGINE_CANCELLED, 5, 0, 0, 0}), "its making was cancelled");
    EXPECT_EQ(incomplete_reason({SS_ENGINE_FAILED, 5, 0, 0, 0}), "its making failed");
    EXPECT_EQ(incomplete_reason({SS_ENGINE_READY, 5, 0, 0, 0}), "");
}

TEST(Sentences, trouble_names_what_it_happened_to) {
    const EngineStatus failed = {SS_ENGINE_FAILED, 0, 0, 0, 0};
    EXPECT_EQ(build_trouble(failed, "x", "c.idx", "The selected folder is unavailable."),
              "Cannot index \"x\": The selected folder is unavailable.");
    EXPECT_EQ(build_trouble(failed, "", "", "No local drives are available."),
              "Cannot index all local drives: No local drives are available.");
    EXPECT_EQ(build_trouble(failed, "a\x1B", "", ""), "Cannot index \"a?\": No reason is known.");
    EXPECT_EQ(build_trouble({SS_ENGINE_READY, 5, 0, 0, 0}, "x", "c.idx",
                            "Index is usable, but its cache could not be saved."),
              "Index is usable, but its cache could not be saved. (c.idx)");
}

}  // namespace
}  // namespace console
