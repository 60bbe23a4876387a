// Ctrl+C as system-search sees it. Which comes first, the end of a read or the call of the handler,
// and when the handler's thread ends, is the system's choice: so the test is the system, and makes
// each of them.
#include "interrupt.hpp"

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstring>
#include <cwchar>
#include <string>
#include <thread>

#include "dll/import_table.hpp"
#include "line_input.hpp"

namespace console {
namespace {

PHANDLER_ROUTINE handler = nullptr;
HANDLE close_is_over = nullptr;

BOOL WINAPI take_handler(PHANDLER_ROUTINE routine, BOOL) {
    handler = routine;
    return TRUE;
}

BOOL WINAPI is_console(HANDLE, DWORD* mode) {
    *mode = ENABLE_PROCESSED_INPUT;
    return TRUE;
}

const wchar_t* typed = L"";

BOOL WINAPI read_console(HANDLE, void* units, DWORD, DWORD* count, PCONSOLE_READCONSOLE_CONTROL) {
    *count = static_cast<DWORD>(std::wcslen(typed));
    std::memcpy(units, typed, *count * sizeof(wchar_t));
    SetLastError(*count == 0 ? ERROR_OPERATION_ABORTED : ERROR_SUCCESS);
    return TRUE;
}

// The runtime of threads sleeps as well, for moments.
void WINAPI sleep_until_over(DWORD milliseconds) {
    if (milliseconds >= 1000) WaitForSingleObject(close_is_over, INFINITE);
}

// What was interrupted stays so: interrupt_test.sh runs each of these in a process of its own.
class Interrupt : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(handler_.applied() && mode_.applied() && read_.applied());
        watch_for_interrupt();
        ASSERT_NE(handler, nullptr);
    }

    static HMODULE program() { return GetModuleHandleW(nullptr); }

    const ImportPatch handler_{program(), "SetConsoleCtrlHandler", take_handler};
    const ImportPatch mode_{program(), "GetConsoleMode", is_console};
    const ImportPatch read_{program(), "ReadConsoleW", read_console};
};

TEST_F(Interrupt, control_z_is_the_end_and_no_interrupt) {
    LineInput input;
    std::string line;
    typed = L"text\r\n";
    EXPECT_EQ(input.read_line(line), LineInput::kLine);
    EXPECT_EQ(line, "text");
    typed = L"\x1A\r\n";
    EXPECT_EQ(input.read_line(line), LineInput::kEnd);
    EXPECT_FALSE(is_interrupted());
}

TEST_F(Interrupt, a_read_of_the_console_that_ends_with_nothing_was_interrupted) {
    LineInput input;
    std::string line;
    typed = L"";
    EXPECT_EQ(input.read_line(line), LineInput::kEnd);
    EXPECT_TRUE(is_interrupted()) << "the handler was not called yet";
    EXPECT_TRUE(handler(CTRL_C_EVENT)) << "the notice that follows is not a second one";
}

TEST_F(Interrupt, the_program_leaves_when_the_thread_of_the_handler_has_ended) {
    std::atomic<bool> has_ended{false};
    std::thread system([&] {
        handler(CTRL_BREAK_EVENT);
        Sleep(200);
        has_ended = true;
    });
    while (!wait_or_interrupt(1000)) continue;
    let_handler_end();
    EXPECT_TRUE(has_ended);
    system.join();
}

TEST_F(Interrupt, the_program_leaves_at_once_when_its_window_is_closed) {
    close_is_over = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const ImportPatch sleep(program(), "Sleep", sleep_until_over);
    std::thread system([] { handler(CTRL_CLOSE_EVENT); });
    while (!wait_or_interrupt(1000)) continue;
    let_handler_end();
    SetEvent(close_is_over);  // it would have hung otherwise
    system.join();
}

TEST_F(Interrupt, a_second_one_ends_the_process_with_130) {
    EXPECT_TRUE(handler(CTRL_C_EVENT));
    handler(CTRL_C_EVENT);
    FAIL() << "the process goes on";
}

}  // namespace
}  // namespace console
