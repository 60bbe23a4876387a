// Failures on demand for the simulated volume: of one node, of the Nth platform call, of the Nth
// allocation; and hooks that run, or hold a thread, at a known point.
//
//     for (std::uint64_t n = 1;; ++n) {
//         fail_platform_call(n, platform::kAccessDenied);
//         ... run and check ...
//         if (failed_platform_calls() == 0) break;  // it took fewer than n calls
//     }
//
//     Gate gate;
//     on_child(u"C:\\music", 5, [&] { gate.hold(); });
//     ... start the build ...
//     ASSERT_TRUE(gate.wait_until_held());  // five children are out, the sixth is not
//     ... cancel ...
//     gate.release();
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string_view>

#include "platform/platform.hpp"

namespace system_search::simulated {

// ---- Faults of one node -------------------------------------------------------------------------

struct NodeFaults {
    platform::Error open = 0;      // Enumeration::open; kNoMoreFiles: the folder reads as empty
    platform::Error next = 0;      // Enumeration::next, once `next_after` children were handed out
    std::uint64_t next_after = 1;  // at least 1: the first child comes with open
    platform::Error attributes = 0;
    platform::Error type = 0;  // Child::type_error when the folder around it is enumerated
    platform::Error status = 0;
    std::optional<platform::Status> status_result;  // given instead of the true status
    platform::Error file_information = 0;
    platform::Error open_file = 0;  // for reading
    platform::Error read = 0;
    platform::Error write = 0;
    platform::Error replace = 0;  // with this node as the destination
    platform::Error remove = 0;
    platform::Error change_children = 0;  // creating, removing or moving anything in this folder
};

void set_faults(std::u16string_view path, const NodeFaults& faults);  // the node has to exist

// ---- Hooks and gates ----------------------------------------------------------------------------

// Runs `hook` on the enumerating thread, no lock held, each time child number `index` (from 0) of
// `folder` is about to be handed out; an index of the number of children means the end. Seen by
// enumerations that are opened later.
void on_child(std::u16string_view folder, std::uint64_t index, std::function<void()> hook);

// A place where a thread waits until the test lets it go on.
class Gate {
public:
    void hold();     // called by the thread: announces itself and waits
    void release();  // lets the thread go on, also one that arrives later
    // False when nobody came within half a minute: a test fails rather than hangs.
    [[nodiscard]] bool wait_until_held();

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool held_ = false;
    bool released_ = false;
};

// ---- A slow disk --------------------------------------------------------------------------------

// How long an answer takes, in nanoseconds. A frozen clock is moved on by so much; otherwise the
// thread sleeps, no lock held.
struct Latencies {
    std::int64_t open = 0;  // opening an enumeration, also one that fails
    std::int64_t read = 0;  // every kChildrenPerRead children after that
    std::int64_t attributes = 0;
};
inline constexpr std::uint64_t kChildrenPerRead = 256;

void set_latencies(const Latencies& latencies);

// ---- The Nth platform call ----------------------------------------------------------------------

enum Call : std::uint32_t {
    kOpenFolder = 1u << 0,
    kNextChild = 1u << 1,
    kAttributes = 1u << 2,
    kStatus = 1u << 3,
    kFileInformation = 1u << 4,
    kOpenFile = 1u << 5,
    kCreateFile = 1u << 6,
    kReadFile = 1u << 7,
    kWriteFile = 1u << 8,
    kFileSize = 1u << 9,
    kCloseFile = 1u << 10,  // the file is closed all the same
    kReplaceFile = 1u << 11,
    kRemoveFile = 1u << 12,
    kCreateFolder = 1u << 13,
    kStartThread = 1u << 14,
    kDriveStrings = 1u << 15,
    kThreadBuffer = 1u << 16,
    kFlushFile = 1u << 17,
    kJoinThread = 1u << 18,
    kExceptionScope = 1u << 19,
    kSleep = 1u << 20,
    kBeginThread = 1u << 21,  // by a new thread, before its body
    kEndThread = 1u << 22,    // by a thread that has left its body
};
inline constexpr std::uint32_t kCallKinds = 23;
// These kinds are meant only when they are named: a join that fails ends the process nearly
// everywhere, a test's own polling opens exception scopes, which would upset the count, and
// neither a sleep nor a thread on its way in or out can fail.
inline constexpr std::uint32_t kAllCalls = kJoinThread - 1;

// From now on the `nth` call (from 1) among `calls`, of all threads together, fails with `error`,
// and the `times - 1` calls after it. Several plans may stand at once. Starts the counting anew.
void fail_platform_call(std::uint64_t nth, platform::Error error, std::uint32_t calls = kAllCalls,
                        std::uint64_t times = 1);
// Runs `hook`, no lock held, before the `nth` call among `calls` from now on, and the `times - 1`
// calls after it. The hook may change the tree or hold the thread.
void on_platform_call(std::uint64_t nth, std::uint32_t calls, std::function<void()> hook,
                      std::uint64_t times = 1);
// Counts without failing anything.
void count_platform_calls();
// Calls since the counting started, and how many of them were made to fail by a plan.
std::uint64_t platform_calls(std::uint32_t calls = kAllCalls);
std::uint64_t failed_platform_calls();
// From now on the `nth` call among `calls` hangs, as on a share that does not answer, until whoever
// joins its thread ends it; it then fails with kOperationAborted. `times` as above: each call of a
// thread that is being joined already is ended at once.
void hang_platform_call(std::uint64_t nth, std::uint32_t calls, std::uint64_t times = 1);
// False when no call hung within half a minute.
[[nodiscard]] bool wait_until_a_call_hangs();
// Drops every plan and stops the counting.
void forget_call_plans();

// A failing write stores the first half of its bytes before it fails.
void set_partial_writes(bool partial);

// ---- The Nth allocation -------------------------------------------------------------------------

// While it lives, the `nth` allocation (from 1; 0: none) of the process fails, and the `times - 1`
// after it: operator new throws std::bad_alloc, its nothrow forms, malloc, calloc and realloc give
// null. What the volume itself allocates neither fails nor counts; opening an enumeration, starting
// a thread and getting a thread's buffer each count as one. At most one at a time. Assertions
// allocate too: make them when it is gone, or in a Quiet block.
class AllocationFault {
public:
    explicit AllocationFault(std::uint64_t nth, std::uint64_t times = 1);
    ~AllocationFault();
    AllocationFault(const AllocationFault&) = delete;
    AllocationFault& operator=(const AllocationFault&) = delete;

    static std::uint64_t counted();  // allocations seen by the last one
    static std::size_t largest();    // the bytes of the largest of them
    static bool hit();               // whether the last one made any fail
};

// While it lives, counts the bytes that operator new has given out and operator delete has not got
// back, those of the volume left out. At most one at a time.
class HeapWatch {
public:
    HeapWatch();
    ~HeapWatch();
    HeapWatch(const HeapWatch&) = delete;
    HeapWatch& operator=(const HeapWatch&) = delete;

    static std::int64_t bytes();
    static std::int64_t most_bytes();
};

// While it lives, allocations of this thread neither fail nor count.
class Quiet {
public:
    Quiet() noexcept { ++depth_; }
    ~Quiet() { --depth_; }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

    static bool here() noexcept { return depth_ > 0; }

private:
    static constinit thread_local int depth_;
};

}  // namespace system_search::simulated
