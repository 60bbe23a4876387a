#include "interrupt.hpp"

#include <windows.h>

#include <atomic>

#include "commands.hpp"

namespace console {
namespace {

/* Constant after watch_for_interrupt; manual reset, never reset. */
HANDLE interrupt_event;
HANDLE told_event;  // the handler has been called

std::atomic<bool> interrupted = false;
std::atomic<bool> is_told = false;
HANDLE handler_thread;  // written before told_event is set; null for the closing of the window

bool is_typed(DWORD event) {
    return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
}

/* Windows runs this on a thread of its own. */
BOOL WINAPI handle_control(DWORD event) {
    if (is_told.exchange(true)) TerminateProcess(GetCurrentProcess(), kInterrupted);
    const HANDLE process = GetCurrentProcess();
    if (is_typed(event)) {
        DuplicateHandle(process, GetCurrentThread(), process, &handler_thread, SYNCHRONIZE, FALSE,
                        0);
    }
    SetEvent(told_event);
    note_interrupt();
    // When the window is closed the process ends as soon as this returns: give the main thread
    // the time that the system allows to leave in order.
    if (!is_typed(event)) Sleep(4000);
    return TRUE;
}

}  // namespace

void watch_for_interrupt() {
    interrupt_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    told_event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(handle_control, TRUE);
}

void note_interrupt() {
    interrupted = true;
    SetEvent(interrupt_event);
}

void let_handler_end() {
    static constexpr DWORD kLongestMilliseconds = 5000;
    if (!interrupted) return;
    if (WaitForSingleObject(told_event, kLongestMilliseconds) != WAIT_OBJECT_0) return;
    if (handler_thread) WaitForSingleObject(handler_thread, kLongestMilliseconds);
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
