// Exceptions inside the library, with the little that the system gives each thread for them: when
// it gives nothing, and when two threads handle one at the same time.
#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <cstdlib>

#include "dll/import_table.hpp"
#include "dll/loaded_library.hpp"

namespace {

// ---- Without a slot -----------------------------------------------------------------------------

DWORD host_thread = 0;
std::atomic<int> refusals_to_host{0};     // how many more calls of the host's thread fail
std::atomic<int> refusals_to_library{0};  // the same of the library's own threads

BOOL WINAPI set_slot_or_refuse(DWORD slot, void* value) {
    std::atomic<int>& left =
        GetCurrentThreadId() == host_thread ? refusals_to_host : refusals_to_library;
    if (left > 0) {
        --left;
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    return TlsSetValue(slot, value);
}

class ExceptionScopeTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_NE(library_.module(), nullptr);
        host_thread = GetCurrentThreadId();
        refusals_to_host = 0;
        refusals_to_library = 0;
    }
    LoadedLibrary library_;
};

TEST_F(ExceptionScopeTest, call_that_gets_no_slot_fails_and_the_next_one_works) {
    const ImportPatch patch(library_.module(), "TlsSetValue", &set_slot_or_refuse);
    ASSERT_TRUE(patch.applied());
    refusals_to_host = 1;
    EXPECT_EQ(library_.create(), nullptr);
    SystemSearchEngine* const engine = library_.create();
    ASSERT_NE(engine, nullptr);

    refusals_to_host = 1;
    EXPECT_EQ(library_.start(engine, "relative", "", 0), 0);
    EXPECT_EQ(library_.status_of(engine).state, SS_ENGINE_FAILED);
    refusals_to_host = 1;
    EXPECT_EQ(library_.query(engine, "", 0, SS_KIND_ANY, 1), nullptr);
    refusals_to_host = 1;
    EXPECT_EQ(library_.query_directory("C:/", "", 0, SS_KIND_ANY, 1), nullptr);

    SystemSearchQuery* const query = library_.query(engine, "", 0, SS_KIND_ANY, 1);
    EXPECT_EQ(library_.wait(query).state, SS_QUERY_DONE);
    library_.query_destroy(query);
    library_.destroy(engine);
}

TEST_F(ExceptionScopeTest, thread_that_gets_no_slot_waits_for_one) {
    const ImportPatch patch(library_.module(), "TlsSetValue", &set_slot_or_refuse);
    ASSERT_TRUE(patch.applied());
    SystemSearchEngine* const engine = library_.create();
    refusals_to_library = 3;
    ASSERT_EQ(library_.start(engine, "relative", "", 0), 1);
    EXPECT_EQ(library_.wait(engine).state, SS_ENGINE_FAILED);
    EXPECT_STREQ(library_.error(engine), "Choose an absolute folder path.");
    EXPECT_EQ(refusals_to_library, 0);
    library_.destroy(engine);
}

// ---- Two at a time ------------------------------------------------------------------------------

struct HeldThread {
    HANDLE arrived = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    HANDLE go_on = CreateEventW(nullptr, TRUE, FALSE, nullptr);
};
HeldThread* held = nullptr;  // the two of them
std::atomic<int> held_count{0};
thread_local int locks_taken = 0;

// A build thread locks its engine first to install an index, and then, when the scope was no good,
// to store the text of the exception that it is handling: there it is held.
void WINAPI lock_and_hold(SRWLOCK* lock) {
    if (GetCurrentThreadId() != host_thread && ++locks_taken == 2) {
        const HeldThread& here = held[held_count++];
        SetEvent(here.arrived);
        WaitForSingleObject(here.go_on, INFINITE);
    }
    AcquireSRWLockExclusive(lock);
}

// So that a text which is read after it was freed is not the same. Volatile, or the compiler leaves
// out what nobody may read.
void spoil_and_free(void* memory) {
    if (memory == nullptr) return;
    volatile char* const bytes = static_cast<char*>(memory);
    const std::size_t size = _msize(memory);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = 'x';
    std::free(memory);
}

TEST_F(ExceptionScopeTest, exceptions_of_two_threads_do_not_touch_each_other) {
    HeldThread threads[2];
    held = threads;
    held_count = 0;
    const ImportPatch patch(library_.module(), "AcquireSRWLockExclusive", &lock_and_hold);
    ASSERT_TRUE(patch.applied());
    const ImportPatch free_patch(library_.module(), "free", &spoil_and_free);
    ASSERT_TRUE(free_patch.applied());
    SystemSearchEngine* const first = library_.create();
    SystemSearchEngine* const second = library_.create();
    ASSERT_EQ(library_.start(first, "relative", "", 0), 1);
    ASSERT_EQ(WaitForSingleObject(threads[0].arrived, 30'000), WAIT_OBJECT_0);
    ASSERT_EQ(library_.start(second, "C:\\no such folder", "", 0), 1);
    ASSERT_EQ(WaitForSingleObject(threads[1].arrived, 30'000), WAIT_OBJECT_0);

    // The first to throw is the first to be done, which must not free the second one's exception.
    SetEvent(threads[0].go_on);
    EXPECT_EQ(library_.wait(first).state, SS_ENGINE_FAILED);
    EXPECT_STREQ(library_.error(first), "Choose an absolute folder path.");
    SetEvent(threads[1].go_on);
    EXPECT_EQ(library_.wait(second).state, SS_ENGINE_FAILED);
    EXPECT_STREQ(library_.error(second), "The selected folder is unavailable.");

    library_.destroy(first);
    library_.destroy(second);
    for (const HeldThread& thread : threads) {
        CloseHandle(thread.arrived);
        CloseHandle(thread.go_on);
    }
}

}  // namespace
