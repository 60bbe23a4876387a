#include "interrupt.hpp"

#include <windows.h>

#include <atomic>

namespace console {
namespace {

HANDLE interrupt_event;  // constant after watch_for_interrupt; manual reset, never reset
std::atomic<bool> interrupted = false;

/* Windows runs this on a thread of its own. */
BOOL WINAPI handle_control(DWORD event) {
    if (interrupted.exchange(true)) return FALSE;
    SetEvent(interrupt_event);
    // When the window is closed the process ends as soon as this returns: give the main thread
    // the time that the system allows to leave in order.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(4000);
    return TRUE;
}

}  // namespace

void watch_for_interrupt() {
    interrupt_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(handle_control, TRUE);
}

bool is_interrupted() {
    return interrupted;
}

bool wait_or_interrupt(unsigned milliseconds) {
    WaitForSingleObject(interrupt_event, milliseconds);
    return interrupted;
}

bool wait_for_or_interrupt(void* object) {
    const HANDLE objects[] = {object, interrupt_event};
    WaitForMultipleObjects(2, objects, FALSE, INFINITE);
    return interrupted;
}

}  // namespace console
