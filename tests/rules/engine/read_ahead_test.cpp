// Whatever is read ahead, by however many threads, in whatever order the disk answers: the walk
// finds, counts and saves what the plain walk of one thread does.
#include "engine/read_ahead.hpp"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>

#include "rules/engine/read_ahead_support.hpp"

namespace system_search {
namespace {

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
                on_platform_call(1, kDiskCalls, [&] { shuffle.pass(); }, kForGood);
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
    EXPECT_EQ(take_snapshot(index).entry_count, entries);
    EXPECT_EQ(engine.limited, 1u);
    EXPECT_EQ(engine.skipped, 0u) << "the second root was tried";
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
        EXPECT_EQ(take_snapshot(index).entry_count, folders + files * (folders + 1));
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

// A folder after the other, and each says only when it was read which one is next.
TEST_F(ReadersAsNeededTest, none_for_a_chain_that_leaves_nothing_to_read_ahead) {
    reset();
    add_generated_folder(u"C:\\big", folder_chain(u"below", 300));
    freeze_clock(1'000'000'000);
    set_latencies({.open = 10'000'000, .attributes = 10'000'000});
    count_platform_calls();
    Engine engine;
    Index index;
    walk(engine, index, {u"C:\\big"});
    EXPECT_EQ(take_snapshot(index).entry_count, 300u);
    EXPECT_EQ(platform_calls(kStartThread), 0u);
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
