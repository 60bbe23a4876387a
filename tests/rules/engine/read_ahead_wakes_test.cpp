// Who is woken, and when. A reader that sleeps too long, or a walk that is not told, costs time and
// nothing else: so each test brings all threads to rest and then looks at what they have done, or
// lets no wait come to its end.
#include <atomic>
#include <optional>

#include "rules/engine/read_ahead_support.hpp"
#include "rules/engine/traversal.hpp"
#include "simulated/waits.hpp"

namespace system_search {
namespace {

// Keeps whoever opens one of its folders, as a reader that waits for a condition.
class HeldFolders {
public:
    explicit HeldFolders(const Roots& folders) {
        for (const std::u16string& folder : folders) on_child(folder, 0, [this] { hold(); });
    }

    std::uint32_t held() {
        const platform::MutexLock lock(mutex_);
        return held_;
    }
    void release() {
        const platform::MutexLock lock(mutex_);
        is_released_ = true;
        released_.notify_all();
    }

private:
    void hold() {
        const platform::MutexLock lock(mutex_);
        ++held_;
        while (!is_released_) released_.wait(mutex_);
    }

    platform::Mutex mutex_;
    platform::Condition released_;
    std::uint32_t held_ = 0;
    bool is_released_ = false;
};

// ---- Readers ------------------------------------------------------------------------------------

TEST_F(ReadAheadTest, a_reader_that_finds_more_than_one_folder_wakes_the_next_reader) {
    const Roots folders = {u"C:\\big\\a", u"C:\\big\\b", u"C:\\big\\c", u"C:\\big\\d"};
    for (const std::u16string& folder : folders) add_folder(folder);
    // All sleep, and the walk as well if it is not the one that reads the root.
    on_child(u"C:\\big", 0, [] { EXPECT_TRUE(wait_until_waiting(kMostReaders)); });
    HeldFolders gate(folders);
    Traversal traversal(with_readers(kMostReaders));
    traversal.enter_root();
    EXPECT_TRUE(wait_until_waiting(kMostReaders));
    EXPECT_EQ(gate.held(), kMostReaders) << "some still sleep";
    gate.release();
}

// Room for one piece, so that what the reader had taken for it has to be given back as well.
TEST_F(ReadAheadTest, a_folder_that_a_reader_had_no_memory_for_goes_to_the_next_reader) {
    add_file(u"C:\\big\\a\\file");
    ReadAheadOptions options = with_readers(2);
    options.readers_bytes = options.piece_bytes + (options.piece_bytes >> 1);
    std::optional<AllocationFault> fault;
    // Between the attributes of "a" and its opening, while the other reader sleeps.
    on_platform_call(1, kAttributes, [&] {
        EXPECT_TRUE(wait_until_waiting(1));
        fault.emplace(1);
    });
    std::atomic<std::uint32_t> readings = 0;
    on_child(u"C:\\big\\a", 0, [&] { ++readings; });
    Traversal traversal(options);
    Folder& root = traversal.enter_root();
    // The one that ran out of memory leaves, and wakes the other one. If it does not, nobody reads
    // the folder before the walk comes to it, which is below: this never ends.
    while (readings == 0) std::this_thread::yield();
    EXPECT_TRUE(AllocationFault::hit());
    ASSERT_TRUE(wait_until_waiting(1));  // all is read
    fault.reset();
    traversal.go(root, 100);
    EXPECT_EQ(traversal.children(), 2u);
    EXPECT_EQ(readings, 1u);
}

TEST_F(ReadAheadTest, a_piece_that_the_walk_is_done_with_makes_room_for_the_next) {
    add_generated_folder(u"C:\\big", std::make_shared<Branching>(0, 2000, 0));
    count_platform_calls();
    Traversal traversal(in_tiny_pieces(1));
    Folder& root = traversal.enter_root();
    for (int piece = 0; piece < 10; ++piece) {
        ASSERT_TRUE(wait_until_waiting(1));
        const std::uint64_t read = platform_calls(kNextChild);
        traversal.read_ahead().next_piece(root);
        ASSERT_TRUE(wait_until_waiting(1));
        EXPECT_GT(platform_calls(kNextChild), read) << piece;
    }
}

TEST_F(ReadAheadTest, a_folder_that_the_walk_has_left_makes_room_for_the_next) {
    add_generated_folder(u"C:\\big", std::make_shared<Branching>(200, 0, 1));
    count_platform_calls();
    ReadAheadOptions options = with_readers(1);
    options.readers_bytes = options.piece_bytes + (std::size_t{20} << 10);
    Traversal traversal(options);
    Folder& root = traversal.enter_root();
    for (int folder = 0; folder < 10; ++folder) {
        ASSERT_TRUE(wait_until_waiting(1));
        const std::uint64_t opened = platform_calls(kOpenFolder);
        EXPECT_LT(opened, 200u) << "the room was never short";
        traversal.read_ahead().enter_next(root);
        traversal.read_ahead().leave_first(root);
        ASSERT_TRUE(wait_until_waiting(1));
        EXPECT_EQ(platform_calls(kOpenFolder), opened + 1) << folder;
    }
}

// ---- The walk -----------------------------------------------------------------------------------

TEST_F(ReadAheadTest, the_walk_is_told_when_the_folder_that_it_waits_for_was_read) {
    let_time_stand_still();
    for (const char16_t* file : {u"C:\\big\\a\\1", u"C:\\big\\b\\1"}) add_file(file);
    std::atomic<bool> is_being_read{false};
    on_child(u"C:\\big\\a", 0, [&] {
        is_being_read = true;
        EXPECT_TRUE(wait_until_waiting(1)) << "the walk does not wait";
    });
    Traversal traversal(with_readers(1));
    Folder& root = traversal.enter_root();
    while (!is_being_read) std::this_thread::yield();
    traversal.go(root, 100);
    EXPECT_EQ(traversal.children(), 4u);
    EXPECT_EQ(lost_notices(), 0u);
}

TEST_F(ReadAheadTest, no_wait_needs_its_limit_to_come_to_an_end) {
    for (std::uint32_t seed = 1; seed <= 5; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        reset();
        add_folder(u"X:\\");
        let_time_stand_still();
        const RandomTree tree(seed);
        for (std::uint32_t readers = 0; readers <= kMostReaders; ++readers) {
            walk_with(with_readers(readers), {u"C:\\root", u"D:\\"});
            walk_with(in_tiny_pieces(readers), {u"C:\\root", u"D:\\"});
        }
        ASSERT_EQ(lost_notices(), 0u);
    }
}

// A cancel wakes nobody: the walk looks for it some fifty times a second.
TEST_F(ReadAheadTest, the_walk_waits_for_a_reader_in_short_steps) {
    add_file(u"C:\\big\\a\\1");
    std::atomic<bool> is_being_read{false};
    on_child(u"C:\\big\\a", 0, [&] {
        is_being_read = true;
        EXPECT_TRUE(wait_until_waiting(1));
    });
    Traversal traversal(with_readers(1));
    Folder& root = traversal.enter_root();
    while (!is_being_read) std::this_thread::yield();
    traversal.go(root, 100);
    EXPECT_GE(longest_limit_milliseconds(), 10u);
    EXPECT_LE(longest_limit_milliseconds(), 30u);
}

}  // namespace
}  // namespace system_search
