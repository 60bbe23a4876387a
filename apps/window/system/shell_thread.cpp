#include "system/shell_thread.hpp"

#include <ole2.h>

#include <algorithm>
#include <deque>
#include <mutex>
#include <new>
#include <utility>

namespace window {

struct ShellThread::Shared {
    Shared() : changed(CreateEventW(nullptr, FALSE, FALSE, nullptr)) {}
    ~Shared() { CloseHandle(changed); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    std::mutex mutex;
    std::deque<std::function<void()>> tasks;  // guarded by `mutex`, as is the next one
    bool is_ending = false;
    HANDLE const changed;

    /* The next task; empty when there is none now. */
    std::function<void()> next(bool& is_over) {
        const std::lock_guard lock(mutex);
        is_over = is_ending && tasks.empty();
        if (tasks.empty()) return {};
        std::function<void()> task = std::move(tasks.front());
        tasks.pop_front();
        return task;
    }
};

namespace {

void take_messages() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

}  // namespace

ShellThread::ShellThread() : shared_(std::make_shared<Shared>()) {
    auto own = std::make_unique<std::shared_ptr<Shared>>(shared_);
    thread_ = CreateThread(nullptr, 0, run, own.get(), 0, nullptr);
    if (!thread_) throw std::bad_alloc();
    static_cast<void>(own.release());  // the thread's now
}

ShellThread::~ShellThread() {
    close(std::chrono::milliseconds(0));
}

void ShellThread::post(std::function<void()> task) {
    {
        const std::lock_guard lock(shared_->mutex);
        shared_->tasks.push_back(std::move(task));
    }
    SetEvent(shared_->changed);
}

bool ShellThread::close(std::chrono::milliseconds patience) {
    if (!thread_) return true;
    {
        const std::lock_guard lock(shared_->mutex);
        shared_->is_ending = true;
    }
    SetEvent(shared_->changed);
    const auto milliseconds = static_cast<DWORD>(std::max<long long>(0, patience.count()));
    const bool has_ended = WaitForSingleObject(thread_, milliseconds) == WAIT_OBJECT_0;
    CloseHandle(std::exchange(thread_, nullptr));
    return has_ended;
}

DWORD WINAPI ShellThread::run(void* parameter) {
    const std::unique_ptr<std::shared_ptr<Shared>> own(
        static_cast<std::shared_ptr<Shared>*>(parameter));
    Shared& shared = **own;
    const bool has_com = SUCCEEDED(OleInitialize(nullptr));
    for (bool is_over = false; !is_over;) {
        if (const std::function<void()> task = shared.next(is_over)) {
            try {
                task();
            } catch (const std::exception&) {  // memory is short: what was asked for is not done
                MessageBeep(MB_ICONERROR);
            }
            continue;
        }
        take_messages();
        if (is_over) break;
        MsgWaitForMultipleObjectsEx(1, &shared.changed, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
    }
    if (has_com) OleUninitialize();
    return 0;
}

}  // namespace window
