// Faults on demand: the call, the child or the allocation that a test names, and no other.
#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>

#include "simulated/volume_test_fixture.hpp"

namespace system_search::simulated {
namespace {

using platform::Child;
using platform::Enumeration;
using platform::Error;
using platform::File;
using platform::Status;

using SimulatedFaults = VolumeTest;

TEST_F(SimulatedFaults, the_nth_call_of_the_chosen_kinds_fails) {
    add_folder(u"C:\\");
    fail_platform_call(2, platform::kDiskFull, kWriteFile | kCloseFile, /*times=*/2);
    File file;
    ASSERT_EQ(file.create(u"C:\\f"), platform::kSuccess);
    EXPECT_EQ(file.write("ab", 2), platform::kSuccess);
    set_partial_writes(true);
    EXPECT_EQ(file.write("cdef", 4), platform::kDiskFull);
    EXPECT_EQ(file.close(), platform::kDiskFull);
    EXPECT_EQ(file.close(), platform::kSuccess) << "it is closed";
    EXPECT_EQ(read_file(u"C:\\f"), "abcd");
    EXPECT_EQ(failed_platform_calls(), 2u);
    EXPECT_EQ(platform_calls(), 4u);
    EXPECT_EQ(platform_calls(kCreateFile), 1u);
    forget_call_plans();
    ASSERT_EQ(file.create(u"C:\\g"), platform::kSuccess);
    EXPECT_EQ(file.write("x", 1), platform::kSuccess);
}

TEST_F(SimulatedFaults, a_hook_runs_before_the_call_it_waits_for) {
    add_folder(u"C:\\");
    on_platform_call(2, kAttributes, [] { add_file(u"C:\\late"); });
    EXPECT_EQ(platform::attributes(u"C:\\late"), platform::kInvalidAttributes);
    EXPECT_EQ(platform::attributes(u"C:\\late"), kAttributeArchive);
    EXPECT_EQ(platform::attributes(u"C:\\late"), kAttributeArchive) << "it ran twice";
}

TEST_F(SimulatedFaults, a_gate_holds_a_thread_before_a_child) {
    for (const char16_t* path : {u"C:\\m\\a", u"C:\\m\\b"}) add_file(path);
    Gate gate;
    on_child(u"C:\\m", 1, [&] { gate.hold(); });
    std::atomic<int> seen{0};
    std::thread walker([&] {
        Enumeration enumeration;
        Child child;
        for (Error error = enumeration.open(u"C:\\m", child); error == 0;
             error = enumeration.next(child)) {
            ++seen;
        }
    });
    EXPECT_TRUE(gate.wait_until_held());
    EXPECT_EQ(seen, 1);
    gate.release();
    walker.join();
    EXPECT_EQ(seen, 2);
}

struct alignas(64) Wide {
    char bytes[64];
};

TEST_F(SimulatedFaults, every_kind_of_allocation_can_fail) {
    // Called through volatile pointers, or the compiler leaves the pairs out.
    void* (*volatile allocate)(std::size_t) = [](std::size_t n) { return std::malloc(n); };
    void* (*volatile clear)(std::size_t) = [](std::size_t n) { return std::calloc(1, n); };
    void* (*volatile grow)(std::size_t) = [](std::size_t n) { return std::realloc(nullptr, n); };
    void* (*volatile plain)(std::size_t) = [](std::size_t n) { return operator new(n); };
    void* (*volatile nothrow)(std::size_t) = [](std::size_t n) {
        return operator new(n, std::nothrow);
    };
    void* (*volatile aligned)(std::size_t) = [](std::size_t n) {
        return operator new[](n, std::align_val_t{64}, std::nothrow);
    };
    int failures = 0;
    const auto attempt = [&](void* (*volatile & function)(std::size_t)) {
        void* memory = nullptr;
        try {
            memory = function(64);
        } catch (const std::bad_alloc&) {
        }
        failures += memory == nullptr;
        std::free(memory);
    };
    for (std::uint64_t nth = 0; nth <= 7; ++nth) {
        failures = 0;
        {
            AllocationFault fault(nth);
            for (auto* function : {&allocate, &clear, &grow, &plain, &nothrow, &aligned}) {
                attempt(*function);
            }
            // The volume's own do not count.
            add_file(std::u16string_view(u"C:\\f12345678").substr(0, 4 + nth));
        }
        EXPECT_EQ(AllocationFault::counted(), 6u);
        EXPECT_EQ(AllocationFault::largest(), 64u);
        EXPECT_EQ(failures, nth >= 1 && nth <= 6 ? 1 : 0) << nth;
        EXPECT_EQ(AllocationFault::hit(), nth >= 1 && nth <= 6) << nth;
    }
    const auto wide = std::make_unique<Wide>();
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(wide.get()) % 64, 0u);
}

TEST_F(SimulatedFaults, short_memory_shows_at_the_platform_calls_that_need_some) {
    add_file(u"C:\\m\\a");
    const std::u16string folder = u"C:\\m";
    Child child;
    bool refused = false;
    char* buffer = nullptr;
    Error start_error = 0;
    Enumeration enumeration;
    platform::Thread thread;
    {
        AllocationFault fault(1, UINT64_MAX);
        try {
            enumeration.open(folder, child);
        } catch (const std::bad_alloc&) {
            refused = true;
        }
        buffer = platform::thread_buffer(10);
        start_error = thread.start([](void*) noexcept {}, nullptr);
    }
    EXPECT_TRUE(refused);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(start_error, platform::kNotEnoughMemory);
    EXPECT_FALSE(thread.joinable());
}

TEST_F(SimulatedFaults, a_slow_disk_moves_a_frozen_clock_by_what_each_answer_takes) {
    add_generated_folder(u"C:\\m", numbered_files(2 * kChildrenPerRead + 1));
    add_folder(u"C:\\empty");
    freeze_clock(0);
    set_latencies({.open = 1, .read = 100, .attributes = 10'000});
    Enumeration enumeration;
    Child child;
    EXPECT_EQ(enumeration.open(u"C:\\gone", child), platform::kPathNotFound);
    EXPECT_EQ(enumeration.open(u"C:\\empty", child), platform::kNoMoreFiles);
    EXPECT_EQ(platform::monotonic_nanoseconds(), 2);
    EXPECT_EQ(enumeration.open(u"C:\\m", child), platform::kSuccess);
    while (enumeration.next(child) == platform::kSuccess) {
    }
    EXPECT_EQ(platform::monotonic_nanoseconds(), 203);
    platform::attributes(u"C:\\m");
    EXPECT_EQ(platform::monotonic_nanoseconds(), 10'203);
}

TEST_F(SimulatedFaults, a_slow_disk_holds_the_thread_when_the_clock_runs) {
    set_latencies({.attributes = 3'000'000});
    const std::int64_t begin = platform::monotonic_nanoseconds();
    platform::attributes(u"C:\\");
    EXPECT_GE(platform::monotonic_nanoseconds() - begin, 3'000'000);
}

TEST_F(SimulatedFaults, a_hook_runs_before_as_many_calls_of_its_kinds_as_it_is_told) {
    add_folder(u"C:\\m");
    int calls = 0;
    on_platform_call(2, kAttributes | kStatus, [&] { ++calls; }, /*times=*/2);
    Status status{};
    platform::attributes(u"C:\\m");
    platform::status_following_links(u"C:\\m", status);
    platform::attributes(u"C:\\m");
    platform::monotonic_nanoseconds();
    platform::attributes(u"C:\\m");
    EXPECT_EQ(calls, 2);
}

TEST_F(SimulatedFaults, the_most_enumerations_that_were_open_at_once_are_counted) {
    add_file(u"C:\\m\\a");
    Child child;
    {
        Enumeration one;
        Enumeration other;
        EXPECT_EQ(one.open(u"C:\\m", child), platform::kSuccess);
        EXPECT_EQ(other.open(u"C:\\m", child), platform::kSuccess);
    }
    Enumeration again;
    EXPECT_EQ(again.open(u"C:\\m", child), platform::kSuccess);
    EXPECT_EQ(most_open_enumerations(), 2u);
}

TEST_F(SimulatedFaults, the_heap_is_watched_without_what_the_volume_takes) {
    const HeapWatch watch;
    auto block = std::make_unique<char[]>(100'000);
    add_file(std::u16string_view(u"C:\\file"), 1);
    EXPECT_GE(HeapWatch::bytes(), 100'000);
    EXPECT_LT(HeapWatch::bytes(), 110'000);
    block.reset();
    EXPECT_EQ(HeapWatch::bytes(), 0);
    EXPECT_GE(HeapWatch::most_bytes(), 100'000);
}

}  // namespace
}  // namespace system_search::simulated
