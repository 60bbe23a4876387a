// How far readers go ahead, and in which order: what they hold is bounded by bytes whatever the
// tree looks like, and is given back as the walk passes it.
#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "rules/engine/read_ahead_support.hpp"

namespace system_search {
namespace {

// Goes through a root as the walk does, but keeps nothing.
class Traversal {
public:
    explicit Traversal(const ReadAheadOptions& options) : read_ahead_(root_, cancel_, options) {}

    Folder& enter_root() { return read_ahead_.enter_root(); }

    // Everything below, or until so many children were seen.
    void go(Folder& folder, std::uint64_t most_children) {
        std::vector<std::pair<Folder*, std::uint32_t>> levels = {{&folder, sizeof(Piece)}};
        while (!levels.empty() && children_ < most_children) {
            auto& [current, next] = levels.back();
            if (current->piece() == nullptr) {
                levels.pop_back();
                if (!levels.empty()) read_ahead_.leave_first(*levels.back().first);
            } else if (next == current->piece()->bytes) {
                read_ahead_.next_piece(*current);
                next = sizeof(Piece);
            } else {
                const ChildRecord& child = *current->piece()->record(next);
                next += child.record_bytes;
                ++children_;
                if (child.kind == ChildKind::kFolder) {
                    ++folders_;
                    levels.emplace_back(&read_ahead_.enter_next(*current), sizeof(Piece));
                }
            }
        }
    }

    std::uint64_t children() const { return children_; }
    std::uint64_t folders() const { return folders_; }

private:
    const std::u16string root_ = u"C:\\big";
    const std::atomic<bool> cancel_{false};
    ReadAhead read_ahead_;
    std::uint64_t children_ = 0;
    std::uint64_t folders_ = 1;  // entered
};

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
                // The readers run as far ahead as they may before the walk goes on.
                const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
                const auto far = static_cast<std::int64_t>(options.readers_bytes / 3);
                while (readers > 0 && HeapWatch::bytes() < far && row.tree->count() > 100 &&
                       std::chrono::steady_clock::now() < deadline) {
                    std::this_thread::yield();
                }
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

TEST_F(ReadAheadTest, what_the_walk_has_passed_makes_room_for_readers_again) {
    add_generated_folder(u"C:\\big", std::make_shared<Branching>(300, 3, 1));
    count_platform_calls();
    Traversal traversal(in_tiny_pieces(1));
    traversal.go(traversal.enter_root(), 1000);
    // The walk stands still, so it is a reader that opens one more.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (platform_calls(kOpenFolder) <= traversal.folders()) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::yield();
    }
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
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    for (std::size_t count = 0; count < in_order.size();) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        const std::lock_guard lock(mutex);
        count = read.size();
    }
    EXPECT_EQ(read, in_order);
}

}  // namespace
}  // namespace system_search
