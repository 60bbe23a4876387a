// How far readers go ahead, and in which order: what they hold is bounded by bytes whatever the
// tree looks like, and is given back as the walk passes it.
#include <mutex>

#include "rules/engine/read_ahead_support.hpp"
#include "rules/engine/traversal.hpp"
#include "simulated/waits.hpp"

namespace system_search {
namespace {

// The bound that the header states: what may wait for the walk, the buffer of each thread, and for
// each level of the tree what the walk needs in any case.
std::int64_t bound_bytes(const ReadAheadOptions& options, std::uint64_t levels) {
    const std::size_t buffers = (kMostReaders + 1) * (options.piece_bytes + 4096);
    return static_cast<std::int64_t>(options.most_bytes + options.piece_bytes + buffers +
                                     levels * (options.small_piece_bytes + 2048));
}

TEST_F(ReadAheadTest, stays_within_its_bound_for_wide_deep_and_giant_trees) {
    struct Row {
        const char* name;
        std::shared_ptr<const GeneratedFolder> tree;
        std::uint64_t children;  // so many are looked at
        std::uint64_t levels;
        bool is_small;
    };
    const Row rows[] = {
        {"subfolders side by side", std::make_shared<Branching>(100'000, 0, 1), 100'000, 1, false},
        {"one giant", std::make_shared<Branching>(0, 500'000, 0), 500'000, 1, false},
        {"giants side by side", std::make_shared<Branching>(8, 60'000, 1), 480'000, 1, false},
        {"a chain of giants", std::make_shared<Branching>(1, 30'000, 2000), 60'000, 2000, false},
        {"a tree of all kinds", std::make_shared<Branching>(7, 50, 5), 100'000, 5, true},
    };
    for (const Row& row : rows) {
        for (const std::uint32_t readers : {0u, kMostReaders}) {
            SCOPED_TRACE(row.name + (" with readers " + std::to_string(readers)));
            reset();
            add_generated_folder(u"C:\\big", row.tree);
            const ReadAheadOptions options = with_readers(readers);
            std::int64_t most = 0;
            {
                const HeapWatch watch;
                Traversal traversal(options);
                Folder& root = traversal.enter_root();
                ASSERT_TRUE(wait_until_waiting(readers)) << "they do not come to their bound";
                traversal.go(root, row.children);
                EXPECT_GE(traversal.children(), row.children);
                most = HeapWatch::most_bytes();
            }
            EXPECT_LE(most, bound_bytes(options, row.levels));
            if (!row.is_small) {
                EXPECT_GT(most, static_cast<std::int64_t>(options.piece_bytes));
            }
            if (row.is_small) {
                EXPECT_LE(most_open_enumerations(), readers + 1);
            }
            EXPECT_EQ(open_handles(), OpenHandles{});
        }
    }
}

// What the walk has taken is not read again, so what was read while it stands at the first piece of
// the root is what waits for it.
TEST_F(ReadAheadTest, readers_fill_six_mebibytes_and_no_more) {
    constexpr std::uint64_t kBytes = 6 << 20;
    const std::shared_ptr<const GeneratedFolder> trees[] = {
        std::make_shared<Branching>(0, 1'000'000, 0), std::make_shared<Branching>(100, 60'000, 1)};
    std::uint64_t child_bytes = 0;
    for (const auto& tree : trees) {
        for (std::uint32_t readers = 1; readers <= kMostReaders; ++readers) {
            SCOPED_TRACE(std::to_string(readers) + " readers");
            reset();
            add_generated_folder(u"C:\\big", tree);
            count_platform_calls();
            Traversal traversal(with_readers(readers));
            const Piece& first = *traversal.enter_root().piece();
            if (child_bytes == 0) child_bytes = first.bytes / first.children;
            ASSERT_TRUE(wait_until_waiting(readers));
            const std::uint64_t read = platform_calls(kOpenFolder | kNextChild) * child_bytes;
            EXPECT_LE(read, kBytes);
            EXPECT_GT(read, kBytes - (1 << 20) - (64 << 10)) << "there was room for one more";
        }
    }
}

TEST_F(ReadAheadTest, what_is_being_read_takes_its_room_already) {
    for (const char16_t* file : {u"C:\\big\\a\\1", u"C:\\big\\b\\1", u"C:\\big\\c\\1"}) {
        add_file(file);
    }
    count_platform_calls();
    ReadAheadOptions options = with_readers(3);
    options.readers_bytes = options.piece_bytes + (options.piece_bytes >> 1);
    std::uint32_t idle = 0;
    on_child(u"C:\\big\\a", 0, [&] { idle = wait_until_waiting(2) ? 2 : 0; });
    Traversal traversal(options);
    traversal.enter_root();
    ASSERT_TRUE(wait_until_waiting(3));
    EXPECT_EQ(idle, 2u) << "the others read beside the first";
}

TEST_F(ReadAheadTest, what_nobody_came_to_read_is_given_back) {
    add_generated_folder(u"C:\\big", std::make_shared<Branching>(40, 50, 2));
    const HeapWatch watch;
    {
        ReadAheadOptions options = in_tiny_pieces(2);
        options.readers_bytes = 200'000;
        Traversal traversal(options);
        traversal.go(traversal.enter_root(), 60);
        ASSERT_TRUE(wait_until_waiting(2));
        EXPECT_GT(HeapWatch::bytes(), 150'000);
    }
    EXPECT_EQ(HeapWatch::bytes(), 0);
}

TEST_F(ReadAheadTest, a_folder_is_closed_before_anything_below_it_is_entered) {
    add_generated_folder(u"C:\\big", std::make_shared<Branching>(3, 10'000, 3));
    on_platform_call(
        1, kOpenFolder | kAttributes, [] { EXPECT_EQ(open_handles().enumerations, 0u); }, kForGood);
    Traversal traversal(with_readers(0));
    traversal.go(traversal.enter_root(), 100'000);
    EXPECT_EQ(most_open_enumerations(), 1u);
}

TEST_F(ReadAheadTest, readers_go_for_what_the_walk_needs_soonest) {
    const Roots in_order = {u"C:\\big",          u"C:\\big\\a",       u"C:\\big\\a\\1",
                            u"C:\\big\\a\\1\\x", u"C:\\big\\a\\2",    u"C:\\big\\b",
                            u"C:\\big\\b\\1",    u"C:\\big\\b\\1\\x", u"C:\\big\\c"};
    std::mutex mutex;
    Roots read;
    for (const std::u16string& folder : in_order) {
        add_folder(folder);
        on_child(folder, 0, [&, folder] {
            const std::lock_guard lock(mutex);
            read.push_back(folder);
        });
    }
    Traversal traversal(with_readers(1));
    traversal.enter_root();
    ASSERT_TRUE(wait_until_waiting(1));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(read, in_order);
}

}  // namespace
}  // namespace system_search
