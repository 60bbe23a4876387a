// Whatever is read ahead, by however many threads, in whatever order the disk answers: the walk
// finds, counts and saves what the plain walk of one thread does.
#include "engine/read_ahead.hpp"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>

#include "engine/engine_test_support.hpp"
#include "engine/index_cache.hpp"
#include "engine/plain_walk.hpp"
#include "engine/walk.hpp"
#include "simulated/each_fault.hpp"

namespace system_search {
namespace {

using Roots = std::vector<std::u16string>;

constexpr std::uint64_t kForGood = UINT64_MAX / 2;
constexpr std::uint32_t kDiskCalls = kOpenFolder | kNextChild | kAttributes;

ReadAheadOptions with_readers(std::uint32_t readers) {
    ReadAheadOptions options;
    options.readers = readers;
    return options;
}

// Pieces of two or three children, and room for a handful of them.
ReadAheadOptions in_tiny_pieces(std::uint32_t readers) {
    ReadAheadOptions options;
    options.readers = readers;
    options.piece_bytes = 96;
    options.small_piece_bytes = 1;
    options.readers_bytes = 3000;
    options.most_bytes = 4000;
    return options;
}

struct Outcome {
    Listing listing;
    std::uint32_t skipped = 0;
    std::uint32_t limited = 0;
    std::string error;
    std::string cache;
    bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << outcome.listing.size() << " entries, " << outcome.skipped << " skipped, limited "
         << outcome.limited << ", \"" << outcome.error << "\"\n";
    for (const std::string& path : outcome.listing) *out << "  " << path << "\n";
}

class ReadAheadTest : public VolumeTest {
protected:
    static constexpr const char* kCache = "X:\\cache";

    void SetUp() override {
        VolumeTest::SetUp();
        add_folder(u"X:\\");
    }

    static std::string cache_of(Engine& engine, const Index& index) {
        forget_call_plans();
        set_latencies({});
        save_index_cache(engine, index, "scope", kCache);
        return read_file(u"X:\\cache");
    }

    static Outcome walk_with(const ReadAheadOptions& options, const Roots& roots) {
        Engine engine;
        const auto index = std::make_shared<Index>();
        Outcome outcome;
        try {
            walk(engine, *index, roots, options);
        } catch (const TextError& error) {
            outcome.error = error.what();
        }
        EXPECT_EQ(open_handles(), OpenHandles{});
        outcome.listing = listing_of(take_snapshot(*index));
        outcome.skipped = engine.skipped;
        outcome.limited = engine.limited;
        outcome.cache = cache_of(engine, *index);
        return outcome;
    }

    static Outcome plain_outcome(const Roots& roots) {
        PlainWalk plain(roots);
        Engine engine;
        engine.skipped = plain.skipped;
        Outcome outcome;
        outcome.listing = listing_of(take_snapshot(plain.index));
        outcome.skipped = plain.skipped;
        outcome.cache = cache_of(engine, plain.index);
        return outcome;
    }
};

// ---- Any tree, any fault, any interleaving ------------------------------------------------------

// Turns the order in which threads get to the disk into a matter of luck: most calls go on at once,
// others wait until other threads came by. Nobody waits for long, as there may be no other.
class Shuffle {
public:
    explicit Shuffle(std::uint32_t seed) : random_(seed) {}

    void pass() {
        std::unique_lock lock(mutex_);
        ++passed_;
        changed_.notify_all();
        if (random_() % 4 != 0) return;
        const std::uint64_t until = passed_ + 1 + random_() % 4;
        changed_.wait_for(lock, std::chrono::microseconds(50), [&] { return passed_ >= until; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::mt19937 random_;
    std::uint64_t passed_ = 0;
};

class RandomTree {
public:
    explicit RandomTree(std::uint32_t seed) : random_(seed) {
        fill(u"C:\\root", 0);
        fill(u"D:\\", 3);
        add_folder(u"C:\\root");
    }

private:
    bool one_in(std::uint32_t n) { return random_() % n == 0; }

    std::u16string name(std::uint32_t number) {
        static constexpr std::u16string_view kStems[] = {u"n", u"Name ", u"\u00E4\u20AC",
                                                         u"\U0001F600"};
        std::u16string name(kStems[random_() % std::size(kStems)]);
        if (one_in(20)) name.append(200, u'l');
        for (const char digit : std::to_string(number)) name += static_cast<char16_t>(digit);
        if (one_in(400)) name += char16_t{0xD800};
        return name;
    }

    void fill(const std::u16string& folder, std::uint32_t depth) {
        const std::uint32_t children = static_cast<std::uint32_t>(random_() % 9);
        for (std::uint32_t i = 0; i < children; ++i) {
            const std::u16string path = folder + u"\\" + name(i);
            if (one_in(20)) {
                add_junction(path, u"C:\\root");
            } else if (one_in(3) || depth > 8) {
                add_file(path);
            } else {
                add_folder(path);
                if (depth < 4 || one_in(3)) fill(path, depth + 1);
                if (one_in(30)) {
                    set_type(path, platform::kAttributeDirectory | platform::kAttributeReparsePoint,
                             0x9000001A);
                }
            }
            if (one_in(12)) break_node(path);
        }
        if (one_in(40)) break_node(folder);
    }

    void break_node(const std::u16string& path) {
        if (!exists(path)) return;
        NodeFaults faults;
        switch (random_() % 6) {
            case 0:
                faults.open = platform::kAccessDenied;
                break;
            case 1:
                faults.open = platform::kNoMoreFiles;
                break;
            case 2:
                faults.attributes = platform::kAccessDenied;
                break;
            case 3:
                faults.type = platform::kAccessDenied;
                break;
            case 4:
                if (!one_in(3)) return;  // it ends the root, and most of a tree with it
                faults.next = platform::kCannotAccessFile;
                faults.next_after = 1 + random_() % 5;
                break;
            default:
                return;
        }
        set_faults(path, faults);
    }

    std::mt19937 random_;
};

TEST_F(ReadAheadTest, gives_what_the_plain_walk_gives_for_any_tree_and_any_interleaving) {
    const Roots roots = {u"C:\\root", u"E:\\missing", u"D:\\"};
    std::uint64_t entries = 0;
    std::uint32_t skips = 0;
    std::uint32_t failures = 0;
    for (std::uint32_t seed = 1; seed <= 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        reset();
        add_folder(u"X:\\");
        const RandomTree tree(seed);
        const Outcome plain = plain_outcome(roots);
        PlainWalk counted(roots);
        entries += plain.listing.size();
        skips += plain.skipped;
        failures += counted.failed ? 1 : 0;
        const Outcome alone = walk_with(with_readers(0), roots);
        EXPECT_EQ(!alone.error.empty(), counted.failed);
        if (!counted.failed) {
            EXPECT_EQ(alone, plain);
        }

        for (std::uint32_t readers = 0; readers <= kMostReaders; ++readers) {
            for (const bool tiny : {false, true}) {
                SCOPED_TRACE(std::to_string(readers) + (tiny ? " readers, tiny" : " readers"));
                Shuffle shuffle(seed);
                on_platform_call(
                    1, kDiskCalls, [&] { shuffle.pass(); }, kForGood);
                const ReadAheadOptions options =
                    tiny ? in_tiny_pieces(readers) : with_readers(readers);
                EXPECT_EQ(walk_with(options, roots), alone);
            }
        }
    }
    EXPECT_GT(entries, 3000u);
    EXPECT_GT(skips, 100u);
    EXPECT_GT(failures, 3u);
}

TEST_F(ReadAheadTest, asks_for_each_folder_once_whoever_reads_it) {
    for (int i = 0; i < 26; ++i) {
        const std::u16string folder =
            u"C:\\root\\" + std::u16string(1, static_cast<char16_t>(u'A' + i));
        for (const char16_t* below : {u"\\1", u"\\2\\x", u"\\3\\y\\z"}) add_file(folder + below);
    }
    PlainWalk plain({u"C:\\root"});
    for (std::uint32_t readers = 0; readers <= kMostReaders; ++readers) {
        count_platform_calls();
        Engine engine;
        Index index;
        walk(engine, index, {u"C:\\root"}, with_readers(readers));
        EXPECT_EQ(platform_calls(kAttributes), plain.folders);
        EXPECT_EQ(platform_calls(kOpenFolder), plain.folders + 1);
    }
}

// ---- Several roots and the limits ---------------------------------------------------------------

TEST_F(ReadAheadTest, a_root_lost_to_a_failing_read_leaves_its_readers_and_the_next_root_alone) {
    for (const char16_t* path :
         {u"C:\\a\\1", u"C:\\a\\2", u"C:\\b\\1\\2\\3", u"C:\\c\\1", u"D:\\d\\1"}) {
        add_file(path);
    }
    NodeFaults faults;
    faults.next = platform::kAccessDenied;
    faults.next_after = 1;
    set_faults(u"C:\\a", faults);
    for (std::uint32_t readers = 0; readers <= kMostReaders; ++readers) {
        const Outcome outcome = walk_with(with_readers(readers), {u"C:\\", u"D:\\"});
        EXPECT_EQ(outcome.listing, (Listing{"C:/a/", "C:/a/1", "D:/d/", "D:/d/1"}));
        EXPECT_EQ(outcome.skipped, 1u);
    }
}

// Long paths, so that the estimate comes to its limit with few entries.
TEST_F(ReadAheadTest, stops_at_a_limit_with_readers_as_without) {
    struct LongNames : GeneratedFolder {
        std::uint64_t count() const override { return 5000; }
        void child(std::uint64_t index, platform::Child& out) const override {
            out.attributes = kAttributeArchive;
            std::u16string name(100, u'n');
            for (const char digit : std::to_string(index)) name += static_cast<char16_t>(digit);
            set_name(out, name);
        }
    };
    std::u16string deep = u"C:";
    std::uint64_t estimate = 0;
    std::uint32_t entries = 0;
    const auto fits = [&](std::size_t path_bytes) {
        estimate += memory_estimate(path_bytes);
        return estimate <= kMaxMemoryEstimate && ++entries > 0;
    };
    for (int level = 0; level < 125; ++level) {
        deep += u"\\" + std::u16string(250, u'd');
        ASSERT_TRUE(fits(deep.size()));
    }
    bool is_full = false;
    for (const char16_t* folder : {u"\\a", u"\\b", u"\\c", u"\\d", u"\\e"}) {
        add_generated_folder(deep + folder, std::make_shared<LongNames>());
        is_full = is_full || !fits(deep.size() + 2);
        for (int file = 0; file < 5000 && !is_full; ++file) {
            is_full = !fits(deep.size() + 3 + 100 + std::to_string(file).size());
        }
    }
    ASSERT_TRUE(is_full);

    Engine engine;
    Index index;
    walk(engine, index, {u"C:\\", u"D:\\"}, with_readers(kMostReaders));
    EXPECT_EQ(entry_count(index), entries);
    EXPECT_EQ(engine.limited, 1u);
    EXPECT_EQ(engine.skipped, 0u) << "the second root was tried";
}

// ---- Bounds -------------------------------------------------------------------------------------

// `files` files behind as many subfolders as asked for, and the same again below each of them.
class Branching : public GeneratedFolder {
public:
    Branching(std::uint64_t folders, std::uint64_t files, std::uint64_t depth)
        : folders_(depth > 0 ? folders : 0), files_(files) {
        if (depth > 0) below_ = std::make_shared<Branching>(folders, files, depth - 1);
    }
    std::uint64_t count() const override { return folders_ + files_; }
    void child(std::uint64_t index, platform::Child& out) const override {
        const bool is_folder = index < folders_;
        out.attributes = is_folder ? platform::kAttributeDirectory : kAttributeArchive;
        set_name(out, is_folder ? u"d0000000" : u"a file called 0000000");
        for (std::uint32_t at = out.name_units; index > 0; index /= 10) {
            out.name[--at] = static_cast<char16_t>(u'0' + index % 10);
        }
    }
    std::shared_ptr<const GeneratedFolder> folder(std::u16string_view name) const override {
        return name[0] == u'd' ? below_ : nullptr;
    }

private:
    std::uint64_t folders_;
    std::uint64_t files_;
    std::shared_ptr<Branching> below_;
};

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

// ---- How many readers ---------------------------------------------------------------------------

class ReadersAsNeededTest : public ReadAheadTest {
protected:
    // The threads that a walk starts on a disk that answers so slowly; by a clock that only the
    // disk moves, or by the true one.
    static std::uint64_t threads_started(const Latencies& latencies, std::uint64_t folders,
                                         std::uint64_t files, bool true_clock = false) {
        reset();
        add_generated_folder(u"C:\\big", std::make_shared<Branching>(folders, files, 1));
        if (!true_clock) freeze_clock(1'000'000'000);
        set_latencies(latencies);
        count_platform_calls();
        Engine engine;
        Index index;
        walk(engine, index, {u"C:\\big"});
        EXPECT_EQ(entry_count(index), folders + files * (folders + 1));
        return platform_calls(kStartThread);
    }
};

TEST_F(ReadersAsNeededTest, none_on_a_disk_that_answers_from_memory) {
    EXPECT_EQ(threads_started({}, 3000, 10), 0u);
    EXPECT_EQ(threads_started({.open = 10'000, .attributes = 5'000}, 3000, 10), 0u);
    EXPECT_EQ(threads_started({.open = 30'000, .read = 200'000}, 100, 10'000), 0u)
        << "the children take their time, not the folders";
}

TEST_F(ReadersAsNeededTest, some_on_a_slow_disk_and_none_for_a_few_folders) {
    const Latencies slow = {.open = 200'000, .attributes = 200'000};
    EXPECT_GE(threads_started(slow, 3000, 10), 1u);
    EXPECT_EQ(threads_started(slow, 10, 10), 0u);
    EXPECT_EQ(threads_started({.open = 100'000'000}, 3, 10), 0u);
    EXPECT_GE(threads_started({.open = 100'000'000}, 40, 10), 1u);
    // One more whenever those that there are do not suffice.
    const std::uint64_t threads =
        threads_started({.open = 1'000'000, .attributes = 1'000'000}, 400, 10, true);
    EXPECT_GE(threads, 2u);
    EXPECT_LE(threads, kMostReaders);
}

TEST_F(ReadAheadTest, does_with_the_readers_that_it_can_get) {
    const RandomTree tree(7);
    const Roots roots = {u"C:\\root"};
    const Outcome plain = plain_outcome(roots);
    for (std::uint64_t nth = 1; nth <= kMostReaders + 1; ++nth) {
        for (const std::uint64_t times : {std::uint64_t{1}, std::uint64_t{100}}) {
            fail_platform_call(nth, platform::kNotEnoughMemory, kStartThread, times);
            EXPECT_EQ(walk_with(with_readers(kMostReaders), roots), plain);
        }
    }
}

// ---- Memory that runs out -----------------------------------------------------------------------

TEST_F(ReadAheadTest, memory_that_runs_out_fails_the_walk_or_slows_it_and_asks_nothing_twice) {
    for (const std::u16string_view folder : {u"A", u"B", u"C", u"D", u"E", u"F"}) {
        for (const std::u16string_view below : {u"\\1", u"\\2\\x", u"\\3\\y\\z", u"\\4"}) {
            add_file((u"C:\\root\\" + std::u16string(folder)).append(below));
        }
    }
    const Roots roots = {u"C:\\root"};
    PlainWalk plain(roots);
    const Listing expected = listing_of(take_snapshot(plain.index));
    for (const ReadAheadOptions& options : {with_readers(kMostReaders), in_tiny_pieces(2)}) {
        for (const std::uint64_t times : {std::uint64_t{1}, kForGood}) {
            std::uint32_t whole = 0;
            std::uint32_t failed = 0;
            // How many allocations there are depends on who reads what: until a few found none.
            for (std::uint64_t nth = 1, unhit = 0; unhit < 5; ++nth) {
                ASSERT_LT(nth, 10'000u);
                Engine engine;
                const auto index = std::make_shared<Index>();
                count_platform_calls();
                bool ran_out = false;
                {
                    const AllocationFault fault(nth, times);
                    try {
                        walk(engine, *index, roots, options);
                    } catch (const std::bad_alloc&) {
                        ran_out = true;
                    }
                }
                if (!AllocationFault::hit()) ++unhit;
                (ran_out ? failed : whole) += 1;
                ASSERT_EQ(open_handles(), OpenHandles{}) << nth;
                ASSERT_LE(platform_calls(kAttributes), plain.folders) << nth;
                if (ran_out) {
                    ASSERT_TRUE(AllocationFault::hit());
                } else {
                    ASSERT_EQ(listing_of(take_snapshot(*index)), expected) << nth;
                    ASSERT_EQ(engine.skipped, 0u) << nth;
                    ASSERT_EQ(platform_calls(kAttributes), plain.folders) << nth;
                }
            }
            EXPECT_GT(failed, 5u);
            EXPECT_GT(whole, times == 1 ? 5u : 0u);
        }
    }
}

// ---- Calls that fail ----------------------------------------------------------------------------

TEST_F(ReadAheadTest, a_call_that_fails_whichever_it_is_is_counted_or_costs_a_reader) {
    for (const std::u16string_view folder : {u"A", u"B", u"C", u"D"}) {
        for (const std::u16string_view below : {u"\\1", u"\\2\\x", u"\\3\\y\\z", u"\\4"}) {
            add_file((u"C:\\root\\" + std::u16string(folder)).append(below));
        }
    }
    PlainWalk plain({u"C:\\root"});
    const std::uint32_t entries = entry_count(plain.index);
    for (const ReadAheadOptions& options : {with_readers(kMostReaders), in_tiny_pieces(2)}) {
        for (const std::uint64_t times : {std::uint64_t{1}, kForGood}) {
            std::uint64_t nth = 1;
            for (bool met = true; met; ++nth) {
                ASSERT_LT(nth, 1000u);
                Engine engine;
                Index index;
                fail_platform_call(nth, platform::kAccessDenied, kDiskCalls | kStartThread, times);
                walk(engine, index, {u"C:\\root"}, options);
                met = failed_platform_calls() != 0;
                forget_call_plans();
                ASSERT_EQ(open_handles(), OpenHandles{}) << nth;
                // A folder that cannot be asked or opened, or a read that fails, counts once each.
                if (entry_count(index) < entries) {
                    ASSERT_GE(engine.skipped, 1u) << nth;
                }
                if (times == 1) {
                    ASSERT_LE(engine.skipped, 1u) << nth;
                }
                if (!met) {
                    ASSERT_EQ(entry_count(index), entries);
                }
            }
            EXPECT_GT(nth, 20u);
        }
    }
}

// ---- Cancelling ---------------------------------------------------------------------------------

TEST_F(ReadAheadTest, cancel_ends_a_walk_that_waits_for_a_blocked_reader) {
    for (const char16_t* path :
         {u"C:\\top\\a\\1", u"C:\\top\\a\\2", u"C:\\top\\b\\1", u"C:\\top\\c\\1"}) {
        add_file(path);
    }
    for (const std::uint32_t readers : {1u, kMostReaders}) {
        Gate gate;
        std::atomic<std::uint32_t> late{0};
        Engine engine;
        on_child(u"C:\\top\\a", 1, [&] {
            gate.hold();
            if (engine.cancel) late = 1;
        });
        on_child(u"C:\\top\\a", 2, [&] { late = 2; });
        Index index;
        std::atomic<bool> returned{false};
        std::thread build([&] {
            walk(engine, index, {u"C:\\top"}, with_readers(readers));
            returned = true;
        });
        ASSERT_TRUE(gate.wait_until_held());
        engine.cancel = true;
        EXPECT_FALSE(returned) << "a reader is still in its call";
        gate.release();
        build.join();
        EXPECT_EQ(late, 1u) << "a child was read after the request";
        EXPECT_EQ(entry_count(index), 0u);
        EXPECT_EQ(engine.skipped, 0u);
        EXPECT_EQ(open_handles(), OpenHandles{});
    }
}

TEST_F(ReadAheadTest, cancel_at_any_call_ends_the_walk_and_counts_nothing_as_skipped) {
    for (int i = 0; i < 12; ++i) {
        const std::u16string folder =
            u"C:\\root\\" + std::u16string(1, static_cast<char16_t>(u'A' + i));
        for (const char16_t* below : {u"\\1", u"\\2\\x", u"\\3\\y\\z"}) add_file(folder + below);
    }
    for (const ReadAheadOptions& options :
         {with_readers(0), with_readers(1), with_readers(kMostReaders), in_tiny_pieces(0),
          in_tiny_pieces(kMostReaders)}) {
        for (std::uint64_t nth = 1;; ++nth) {
            Engine engine;
            Index index;
            // From the request on every call fails, as if it had been ended from outside.
            on_platform_call(
                nth, kDiskCalls, [&] { engine.cancel = true; }, kForGood);
            fail_platform_call(nth, 995, kDiskCalls, kForGood);
            walk(engine, index, {u"C:\\root"}, options);
            const bool met = failed_platform_calls() != 0;
            forget_call_plans();
            ASSERT_EQ(engine.skipped, 0u) << nth;
            ASSERT_EQ(open_handles(), OpenHandles{}) << nth;
            if (!met) {
                EXPECT_EQ(entry_count(index), 12u * 7u);
                break;
            }
        }
    }
}

// ---- A tree that changes ------------------------------------------------------------------------

TEST_F(ReadAheadTest, a_folder_above_may_be_renamed_while_the_walk_is_below) {
    add_file(u"C:\\top\\a\\b\\c\\deep");
    add_file(u"C:\\top\\a\\b\\later\\unseen");
    add_file(u"C:\\top\\z");
    on_child(u"C:\\top\\a\\b\\c", 1, [] {
        EXPECT_EQ(open_handles().enumerations, 1u) << "something above is held";
        rename(u"C:\\top\\a", u"C:\\top\\renamed");
    });
    const Outcome outcome = walk_with(with_readers(0), {u"C:\\top"});
    EXPECT_EQ(outcome.listing, (Listing{"C:/top/a/", "C:/top/a/b/", "C:/top/a/b/c/",
                                        "C:/top/a/b/c/deep", "C:/top/a/b/later/", "C:/top/z"}));
    EXPECT_EQ(outcome.skipped, 1u) << "what is no longer where it was cannot be entered";
}

}  // namespace
}  // namespace system_search
