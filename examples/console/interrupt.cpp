#include "interrupt.hpp"

#include <windows.h>

#include <atomic>

namespace console {
namespace {

HANDLE main_thread;      // constant after watch_for_interrupt
HANDLE interrupt_event;  // constant after watch_for_interrupt; manual reset, never reset
std::atomic<bool> interrupted = false;
std::atomic<bool> reading = false;

/* Windows runs this on a thread of its own. */
BOOL WINAPI handle_control(DWORD event) {
    if (interrupted.exchange(true)) return FALSE;
    SetEvent(interrupt_event);
    // The main thread may have looked at the flag and not yet be inside its read, so one attempt
    // could miss it.
    for (int attempt = 0; attempt < 50 && reading; ++attempt) {
        CancelSynchronousIo(main_thread);
        Sleep(20);
    }
    // When the window is closed the process ends as soon as this returns: give the main thread
    // the time that the system allows to leave in order.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(4000);
    return TRUE;
}

}  // namespace

void watch_for_interrupt() {
    interrupt_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &main_thread, 0,
                    FALSE, DUPLICATE_SAME_ACCESS);
    SetConsoleCtrlHandler(handle_control, TRUE);
}

bool is_interrupted() {
    return interrupted;
}

bool wait_or_interrupt(unsigned milliseconds) {
    WaitForSingleObject(interrupt_event, milliseconds);
    return interrupted;
}

InterruptibleRead::InterruptibleRead() {
    reading = true;
}

InterruptibleRead::~InterruptibleRead() {
    reading = false;
}

}  // namespace console
