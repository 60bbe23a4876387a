#include "model/index_session.hpp"

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "session_test_support.hpp"

namespace window {
namespace {

using namespace system_search::simulated;  // NOLINT(google-build-using-namespace): the volume

constexpr const char* kScope = "C:/disk";
constexpr const char* kCache = "C:/cache/disk.index";
constexpr std::time_t kYesterday = 1000;
constexpr std::time_t kNow = 100000;

class IndexSessionTest : public VolumeTest {
protected:
    void SetUp() override {
        VolumeTest::SetUp();
        add_file(u"C:\\disk\\a.txt");
        add_file(u"C:\\disk\\b.txt");
    }
    void TearDown() override {
        session_.reset();
        discarded_.clear();
        VolumeTest::TearDown();
    }

    void open(std::optional<std::time_t> cached_at = std::nullopt) {
        session_.reset();
        session_ = std::make_unique<IndexSession>(
            kScope, kCache, cached_at,
            [this](ss::Engine engine) { discarded_.push_back(std::move(engine)); });
    }
    /* Ticks until all that is under way is done. */
    [[nodiscard]] bool settle() {
        return comes_true([this] {
            session_->tick(kNow);
            const IndexPhase phase = session_->report().phase;
            return phase != IndexPhase::kLoading && phase != IndexPhase::kReading &&
                   !session_->report().refreshing;
        });
    }
    void write_cache() {
        open();
        ASSERT_TRUE(settle());
        ASSERT_TRUE(exists(u"C:\\cache\\disk.index"));
    }
    const IndexReport& report() { return session_->report(); }

    std::unique_ptr<IndexSession> session_;
    std::vector<ss::Engine> discarded_;
};

TEST_F(IndexSessionTest, without_a_cache_the_disk_is_read_once_and_the_names_are_of_now) {
    open();
    EXPECT_EQ(report().phase, IndexPhase::kReading);
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().phase, IndexPhase::kReady);
    EXPECT_EQ(report().entries, 2u);
    EXPECT_EQ(report().read_at, kNow);
    EXPECT_EQ(report().trouble, "");
    session_->tick(kNow + 1);
    EXPECT_FALSE(report().refreshing) << "what was just read needs no reading";
    EXPECT_EQ(report().read_at, kNow);
}

TEST_F(IndexSessionTest, names_are_searchable_and_told_while_the_disk_is_read) {
    add_generated_folder(u"C:\\disk\\many", numbered_files(2500));
    add_generated_folder(u"C:\\disk\\more", numbered_files(500));
    Gate gate;
    on_child(u"C:\\disk\\more", 0, [&] { gate.hold(); });
    open();
    ASSERT_TRUE(gate.wait_until_held());
    ASSERT_TRUE(comes_true([&] {
        session_->tick(kNow);
        return report().entries >= 2048;
    }));
    EXPECT_EQ(report().phase, IndexPhase::kReading);
    EXPECT_FALSE(session_->tick(kNow)) << "nothing has changed since the last look";
    gate.release();
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().entries, 3004u);
}

TEST_F(IndexSessionTest, a_cache_is_searchable_at_once_and_read_anew_behind_it) {
    write_cache();
    add_file(u"C:\\disk\\new.txt");
    Gate gate;
    on_child(u"C:\\disk", 1, [&] { gate.hold(); });
    open(kYesterday);
    EXPECT_EQ(report().phase, IndexPhase::kLoading);
    ASSERT_TRUE(comes_true([&] {
        session_->tick(kNow);
        return report().refreshing;
    }));
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_EQ(report().phase, IndexPhase::kReady);
    EXPECT_EQ(report().entries, 2u) << "the names of yesterday";
    EXPECT_EQ(report().read_at, kYesterday);
    const SystemSearchEngine* before = session_->engine().handle();
    discarded_.clear();
    gate.release();
    ASSERT_TRUE(settle());
    EXPECT_NE(session_->engine().handle(), before);
    ASSERT_EQ(discarded_.size(), 1u);
    EXPECT_EQ(discarded_[0].handle(), before);
    EXPECT_EQ(report().entries, 3u);
    EXPECT_EQ(report().read_at, kNow);
    EXPECT_EQ(report().refresh_trouble, "");
}

TEST_F(IndexSessionTest, the_swap_is_told_even_when_the_numbers_are_the_same) {
    write_cache();
    open(kYesterday);
    const SystemSearchEngine* before = session_->engine().handle();
    bool told = false;
    ASSERT_TRUE(comes_true([&] {
        told = session_->tick(kNow);
        return session_->engine().handle() != before;
    }));
    EXPECT_TRUE(told);
}

TEST_F(IndexSessionTest, a_damaged_cache_is_passed_over) {
    write_file(u"C:\\cache\\disk.index", "rubbish");
    open(kYesterday);
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().phase, IndexPhase::kReady);
    EXPECT_EQ(report().entries, 2u);
    EXPECT_EQ(report().read_at, kNow);
}

TEST_F(IndexSessionTest, a_refresh_reads_anew) {
    open();
    ASSERT_TRUE(settle());
    add_file(u"C:\\disk\\new.txt");
    Gate gate;
    on_child(u"C:\\disk", 1, [&] { gate.hold(); });
    session_->refresh();
    ASSERT_TRUE(gate.wait_until_held());
    EXPECT_TRUE(report().refreshing);
    EXPECT_FALSE(report().once_more);
    EXPECT_EQ(report().entries, 2u) << "the names of before, until the new ones are ready";
    gate.release();
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().entries, 3u);
    EXPECT_EQ(discarded_.size(), 1u);
}

TEST_F(IndexSessionTest, refreshes_during_a_refresh_read_once_more_after_it) {
    open();
    ASSERT_TRUE(settle());
    Gate gate;
    on_child(u"C:\\disk", 2, [&] { gate.hold(); });  // the folder has been read
    session_->refresh();
    ASSERT_TRUE(gate.wait_until_held());
    add_file(u"C:\\disk\\new.txt");
    session_->refresh();
    session_->refresh();
    EXPECT_TRUE(report().once_more);
    session_->tick(kNow);
    EXPECT_TRUE(report().once_more) << "not before the reading has ended";
    EXPECT_TRUE(discarded_.empty()) << "what is being read is read to the end";
    gate.release();
    ASSERT_TRUE(settle());
    EXPECT_FALSE(report().once_more);
    EXPECT_EQ(report().entries, 3u);
    EXPECT_EQ(discarded_.size(), 2u) << "once more, however often it was asked for";
}

TEST_F(IndexSessionTest, a_refresh_during_the_first_reading_reads_once_more_after_it) {
    add_generated_folder(u"C:\\disk\\many", numbered_files(2500));
    add_file(u"C:\\disk\\z\\last.txt");
    Gate gate;
    on_child(u"C:\\disk\\z", 1, [&] { gate.hold(); });
    open();
    ASSERT_TRUE(gate.wait_until_held());
    session_->refresh();
    EXPECT_FALSE(report().refreshing);
    EXPECT_TRUE(report().once_more);
    add_file(u"C:\\disk\\new.txt");
    gate.release();
    ASSERT_TRUE(settle());
    EXPECT_FALSE(report().once_more);
    EXPECT_EQ(report().entries, 2506u);
    EXPECT_EQ(discarded_.size(), 1u);
}

TEST_F(IndexSessionTest, a_second_reading_that_cannot_start_is_told_and_forgotten) {
    Gate gate;
    on_child(u"C:\\disk", 1, [&] { gate.hold(); });
    open();
    ASSERT_TRUE(gate.wait_until_held());
    session_->refresh();
    gate.release();
    ASSERT_TRUE(comes_true(
        [&] { return session_->engine().progress().state != ss::EngineState::kRunning; }));
    fail_platform_call(1, system_search::platform::kAccessDenied, kStartThread);
    session_->tick(kNow);
    forget_call_plans();
    EXPECT_FALSE(report().once_more);
    EXPECT_FALSE(report().refreshing);
    EXPECT_EQ(report().phase, IndexPhase::kReady);
    EXPECT_EQ(report().refresh_trouble, "The index could not be started.");
}

TEST_F(IndexSessionTest, a_refresh_while_the_cache_is_loaded_needs_no_second_one) {
    write_cache();
    open(kYesterday);
    discarded_.clear();
    ASSERT_EQ(report().phase, IndexPhase::kLoading);
    session_->refresh();
    EXPECT_FALSE(report().once_more);
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().read_at, kNow);
    EXPECT_EQ(discarded_.size(), 1u);
}

TEST_F(IndexSessionTest, a_folder_that_is_gone_keeps_the_cached_names_and_says_why) {
    write_cache();
    remove_tree(u"C:\\disk");
    open(kYesterday);
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().phase, IndexPhase::kReady);
    EXPECT_EQ(report().entries, 2u);
    EXPECT_EQ(report().read_at, kYesterday);
    EXPECT_EQ(report().refresh_trouble, "The selected folder is unavailable.");
}

TEST_F(IndexSessionTest, a_folder_that_is_gone_fails_and_a_refresh_finds_it_again) {
    remove_tree(u"C:\\disk");
    open();
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().phase, IndexPhase::kFailed);
    EXPECT_EQ(report().trouble, "The selected folder is unavailable.");
    session_->refresh();
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().phase, IndexPhase::kFailed);
    add_file(u"C:\\disk\\again.txt");
    session_->refresh();
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().phase, IndexPhase::kReady);
    EXPECT_EQ(report().entries, 1u);
    EXPECT_EQ(report().refresh_trouble, "");
}

TEST_F(IndexSessionTest, a_cache_that_cannot_be_written_is_told_and_the_names_are_usable) {
    set_disk_room(0);
    open();
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().phase, IndexPhase::kReady);
    EXPECT_EQ(report().entries, 2u);
    EXPECT_EQ(report().trouble, "Index is usable, but its cache could not be saved.");
}

TEST_F(IndexSessionTest, no_thread_for_the_build_is_told) {
    fail_platform_call(1, system_search::platform::kAccessDenied, kStartThread);
    open();
    session_->tick(kNow);
    forget_call_plans();
    EXPECT_EQ(report().phase, IndexPhase::kFailed);
    EXPECT_EQ(report().trouble, "The index could not be started.");
    fail_platform_call(1, system_search::platform::kAccessDenied, kStartThread);
    session_->refresh();
    forget_call_plans();
    EXPECT_FALSE(report().refreshing);
    EXPECT_EQ(report().refresh_trouble, "The index could not be started.");
}

TEST_F(IndexSessionTest, no_memory_for_a_refresh_is_told_and_the_names_stay) {
    open();
    ASSERT_TRUE(settle());
    bool told_of_memory = false;
    std::uint64_t nth = 1;
    for (bool threw = false;; ++nth, threw = false) {
        {
            const AllocationFault fault(nth);
            try {
                session_->refresh();
            } catch (const std::bad_alloc&) {
                threw = true;  // the window has a sentence for it
            }
        }
        if (report().refreshing) break;
        EXPECT_TRUE(threw || !report().refresh_trouble.empty()) << nth;
        const std::string kTrouble = "There is not enough memory for an index.";
        told_of_memory = told_of_memory || report().refresh_trouble == kTrouble;
        session_->tick(kNow);
        EXPECT_EQ(report().phase, IndexPhase::kReady) << nth;
        EXPECT_EQ(report().entries, 2u) << nth;
    }
    EXPECT_GT(nth, 1u);
    EXPECT_TRUE(told_of_memory);
    ASSERT_TRUE(settle());
    session_->refresh();
    ASSERT_TRUE(settle());
    EXPECT_EQ(report().refresh_trouble, "") << "the next one works";
    EXPECT_EQ(report().entries, 2u);
}

TEST_F(IndexSessionTest, no_memory_for_the_first_index_is_told) {
    bool told_of_memory = false;
    for (std::uint64_t nth = 1;; ++nth) {
        session_.reset();
        bool threw = false;
        {
            const AllocationFault fault(nth);
            try {
                session_ = std::make_unique<IndexSession>(kScope, kCache, std::nullopt,
                                                          [](const ss::Engine&) {});
            } catch (const std::bad_alloc&) {
                threw = true;
            }
        }
        if (threw) continue;
        session_->tick(kNow);
        if (!session_->engine()) {
            EXPECT_EQ(report().phase, IndexPhase::kFailed);
            EXPECT_EQ(report().trouble, "There is not enough memory for an index.");
            told_of_memory = true;
        } else if (report().phase == IndexPhase::kReading || report().phase == IndexPhase::kReady) {
            break;
        }
    }
    EXPECT_TRUE(told_of_memory);
    ASSERT_TRUE(settle());
}

TEST_F(IndexSessionTest, closing_cancels_both_builds_before_it_hands_either_over) {
    write_cache();
    Gate gate;
    on_child(u"C:\\disk", 1, [&] { gate.hold(); });
    open(kYesterday);
    ASSERT_TRUE(comes_true([&] {
        session_->tick(kNow);
        return report().refreshing;
    }));
    ASSERT_TRUE(gate.wait_until_held());
    discarded_.clear();
    session_.reset();  // does not wait for the build that is held
    EXPECT_EQ(discarded_.size(), 2u);
    gate.release();
    ASSERT_TRUE(
        comes_true([&] { return discarded_[0].progress().state != ss::EngineState::kRunning; }));
    EXPECT_EQ(discarded_[0].progress().state, ss::EngineState::kCancelled);
}

}  // namespace
}  // namespace window
