/* A thread for what the shell does: it may wait for a disk or a share, and load what other programs
 * have added to it. So it has COM, and takes messages as COM and the shell's windows need. */
#pragma once

#include <windows.h>

#include <chrono>
#include <functional>
#include <memory>

namespace window {

class ShellThread {
public:
    ShellThread();
    /* Waits no longer than close() has: a thread that the system holds goes with the process. */
    ~ShellThread();
    ShellThread(const ShellThread&) = delete;
    ShellThread& operator=(const ShellThread&) = delete;

    /* In order, one after the other. */
    void post(std::function<void()> task);

    /* Does what is left and ends the thread; waits for that, but no longer than this. */
    bool close(std::chrono::milliseconds patience);

private:
    struct Shared;
    static DWORD WINAPI run(void* parameter);

    // The thread has it, too: it may be left behind.
    const std::shared_ptr<Shared> shared_;
    HANDLE thread_ = nullptr;
};

}  // namespace window
