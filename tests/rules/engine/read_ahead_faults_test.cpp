// Readers that run out of memory, meet failing calls or are cancelled: the walk is slower or fails,
// never wrong, and nothing is left behind.
#include <atomic>
#include <thread>

#include "rules/engine/read_ahead_support.hpp"
#include "simulated/each_fault.hpp"

namespace system_search {
namespace {

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
                engine.readers.join();
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
    const std::uint32_t entries = take_snapshot(plain.index).entry_count;
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
                engine.readers.join();
                ASSERT_EQ(open_handles(), OpenHandles{}) << nth;
                // A folder that cannot be asked or opened, or a read that fails, counts once each.
                if (take_snapshot(index).entry_count < entries) {
                    ASSERT_GE(engine.skipped, 1u) << nth;
                }
                if (times == 1) {
                    ASSERT_LE(engine.skipped, 1u) << nth;
                }
                if (!met) {
                    ASSERT_EQ(take_snapshot(index).entry_count, entries);
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
        EXPECT_EQ(take_snapshot(index).entry_count, 0u);
        EXPECT_EQ(engine.skipped, 0u);
        engine.readers.join();
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
            on_platform_call(nth, kDiskCalls, [&] { engine.cancel = true; }, kForGood);
            fail_platform_call(nth, 995, kDiskCalls, kForGood);
            walk(engine, index, {u"C:\\root"}, options);
            const bool met = failed_platform_calls() != 0;
            forget_call_plans();
            ASSERT_EQ(engine.skipped, 0u) << nth;
            engine.readers.join();
            ASSERT_EQ(open_handles(), OpenHandles{}) << nth;
            if (!met) {
                EXPECT_EQ(take_snapshot(index).entry_count, 12u * 7u);
                break;
            }
        }
    }
}

}  // namespace
}  // namespace system_search
