// The text of ss_error lives in a buffer of the calling thread.
#include "engine/error_text.hpp"

#include <thread>

#include "rules/engine/engine_test_support.hpp"

namespace system_search {
namespace {

class ErrorTextTest : public EngineTest {
protected:
    // On a fresh thread, which has no buffer yet.
    template <class Body>
    static void on_another_thread(Body body) {
        std::thread(body).join();
    }
};

TEST_F(ErrorTextTest, null_engine_has_a_text_of_its_own) {
    EXPECT_STREQ(ss_error(nullptr), "Library unavailable.");
}

TEST_F(ErrorTextTest, fresh_engine_has_an_empty_text) {
    ASSERT_NE(ss_error(handle_), nullptr);
    EXPECT_STREQ(ss_error(handle_), "");
}

TEST_F(ErrorTextTest, second_call_of_a_thread_changes_the_text_of_the_first) {
    on_another_thread([&] {
        const char* const first = ss_error(handle_);
        EXPECT_STREQ(first, "");
        build("relative");
        const char* const second = ss_error(handle_);
        EXPECT_EQ(first, second);
        EXPECT_STREQ(first, "Choose an absolute folder path.");
        set_error(engine(), "x");
        ss_error(handle_);
        EXPECT_STREQ(first, "x");
    });
}

TEST_F(ErrorTextTest, engines_share_the_buffer_of_a_thread) {
    SystemSearchEngine* const other = ss_create();
    set_error(engine(), "of the first");
    const char* const first = ss_error(handle_);
    EXPECT_EQ(ss_error(other), first);
    EXPECT_STREQ(first, "");
    ss_destroy(other);
    EXPECT_STREQ(first, "") << "the buffer is the thread's, not the engine's";
}

TEST_F(ErrorTextTest, text_survives_the_call_of_another_thread) {
    set_error(engine(), "before");
    const char* const mine = ss_error(handle_);
    set_error(engine(), "after");
    on_another_thread([&] {
        const char* const theirs = ss_error(handle_);
        EXPECT_NE(theirs, mine);
        EXPECT_STREQ(theirs, "after");
    });
    EXPECT_STREQ(mine, "before");
}

TEST_F(ErrorTextTest, buffer_is_freed_when_its_thread_ends) {
    ss_error(handle_);
    const std::uint64_t before = thread_buffers();
    for (int i = 0; i < 3; ++i) {
        on_another_thread([&] {
            ss_error(handle_);
            EXPECT_EQ(thread_buffers(), before + 1);
        });
    }
    EXPECT_EQ(thread_buffers(), before);
}

TEST_F(ErrorTextTest, text_of_any_length_is_copied_whole) {
    std::string text;
    for (int doubling = 0; doubling < 18; ++doubling) {
        text += text + "0123456789"[doubling % 10];
        set_error(engine(), text);
        ASSERT_EQ(ss_error(handle_), text);
    }
}

TEST_F(ErrorTextTest, without_a_buffer_there_is_still_a_sentence) {
    set_error(engine(), "the reason");
    on_another_thread([&] {
        fail_platform_call(1, platform::kNotEnoughMemory, kThreadBuffer);
        EXPECT_STREQ(ss_error(handle_), "Cannot read index status.");
        EXPECT_STREQ(ss_error(handle_), "the reason");
    });
}

TEST_F(ErrorTextTest, text_for_which_memory_is_short_is_dropped_not_thrown) {
    set_error(engine(), "old");
    const std::string long_text(1000, 'x');
    {
        const AllocationFault fault(1);
        set_error(engine(), long_text);
    }
    EXPECT_EQ(error(), "");
    set_error(engine(), long_text);
    EXPECT_EQ(error(), long_text);
}

// A reader gets one text or the other, never a mixture.
TEST_F(ErrorTextTest, texts_are_replaced_whole_under_the_eyes_of_readers) {
    const std::string a(300, 'a');
    const std::string b(20, 'b');
    std::atomic<bool> done{false};
    std::atomic<int> mixed{0};
    set_error(engine(), a);
    std::thread reader([&] {
        while (!done) {
            const std::string text = ss_error(handle_);
            mixed += text != a && text != b;
        }
    });
    for (int i = 0; i < 2000; ++i) set_error(engine(), i % 2 != 0 ? a : b);
    done = true;
    reader.join();
    EXPECT_EQ(mixed, 0);
}

}  // namespace
}  // namespace system_search
