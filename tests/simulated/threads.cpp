// Threads, locks, per-thread buffers and the clock of the simulated volume: POSIX threads, with
// the failures that the platform promises.
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <stdexcept>
#include <unordered_map>

#include "simulated/lock_hook.hpp"
#include "simulated/tree.hpp"

namespace system_search::simulated {
namespace {

// What a thread of a Windows program gets unless the program says otherwise.
constexpr std::size_t kStackBytes = 1 << 20;

struct RunningThread {
    pthread_t thread;
    platform::Thread::Body body;
    void* argument;
    std::uint32_t id;
    bool is_being_ended = false;  // guarded by Endings::mutex
};

thread_local std::uint32_t current_id = 0;
thread_local RunningThread* current_thread = nullptr;
std::atomic<std::uint32_t> last_id{0};

// Calls that hang, and the joins that end them.
struct Endings {
    std::mutex mutex;
    std::condition_variable changed;
    int hanging = 0;
};

Endings& endings() {
    static Endings& only = *new Endings;
    return only;
}

void end_calls_of(RunningThread& thread) {
    const std::lock_guard lock(endings().mutex);
    thread.is_being_ended = true;
    endings().changed.notify_all();
}

void* run_thread(void* argument) {
    RunningThread& running = *static_cast<RunningThread*>(argument);
    current_id = running.id;
    current_thread = &running;
    running.body(running.argument);
    return nullptr;
}

struct Buffer {
    char* bytes = nullptr;
    std::size_t capacity = 0;
};

// All buffers of all threads, so that they can be counted, and freed when the library goes.
struct Buffers {
    std::mutex mutex;
    bool has_key = false;
    pthread_key_t key;
    std::unordered_map<Buffer*, std::unique_ptr<Buffer>> all;
};

Buffers& buffers() {
    static Buffers& only = *new Buffers;
    return only;
}

void free_buffer(void* pointer) {
    const Quiet quiet;
    Buffers& store = buffers();
    const std::lock_guard lock(store.mutex);
    const auto found = store.all.find(static_cast<Buffer*>(pointer));
    if (found == store.all.end()) return;
    std::free(found->second->bytes);
    store.all.erase(found);
}

Buffer* current_buffer(Buffers& store) {
    if (!store.has_key) {
        if (pthread_key_create(&store.key, free_buffer) != 0) return nullptr;
        store.has_key = true;
    }
    auto* current = static_cast<Buffer*>(pthread_getspecific(store.key));
    if (current != nullptr) return current;
    auto made = std::make_unique<Buffer>();
    current = made.get();
    if (pthread_setspecific(store.key, current) != 0) return nullptr;
    store.all.emplace(current, std::move(made));
    return current;
}

struct LockPlan {
    std::uint64_t left = 0;  // this many locks until the hook
    LockStep step = LockStep::kBeforeLock;
    std::function<void()> hook;
};
constinit thread_local LockPlan* lock_plan = nullptr;  // null: no hook

void run_lock_hook(LockStep step) {
    if (lock_plan == nullptr || lock_plan->step != step || --lock_plan->left != 0) return;
    const std::unique_ptr<LockPlan> plan(std::exchange(lock_plan, nullptr));
    plan->hook();
}

}  // namespace

void hang_until_ended() {
    if (current_thread == nullptr) throw std::logic_error("nobody would end this call");
    std::unique_lock lock(endings().mutex);
    ++endings().hanging;
    endings().changed.notify_all();
    endings().changed.wait(lock, [] { return current_thread->is_being_ended; });
    --endings().hanging;
}

bool wait_until_a_call_hangs() {
    std::unique_lock lock(endings().mutex);
    const auto deadline = std::chrono::system_clock::now() + std::chrono::seconds(30);
    return endings().changed.wait_until(lock, deadline, [] { return endings().hanging > 0; });
}

void on_lock_of_this_thread(std::uint64_t nth, LockStep step, std::function<void()> hook) {
    const Quiet quiet;
    delete std::exchange(lock_plan, hook ? new LockPlan{nth, step, std::move(hook)} : nullptr);
}

std::uint64_t thread_buffers() {
    Buffers& store = buffers();
    const std::lock_guard lock(store.mutex);
    return store.all.size();
}

}  // namespace system_search::simulated

namespace system_search::platform {

using namespace simulated;

void Mutex::lock() noexcept {
    run_lock_hook(LockStep::kBeforeLock);
    mutex_.lock();
}

void Mutex::unlock() noexcept {
    mutex_.unlock();
    run_lock_hook(LockStep::kAfterUnlock);
}

void Condition::wait(Mutex& mutex) noexcept {
    std::unique_lock lock(mutex.mutex_, std::adopt_lock);
    condition_.wait(lock);
    lock.release();
}

void Condition::wait_for(Mutex& mutex, std::uint32_t milliseconds) noexcept {
    std::unique_lock lock(mutex.mutex_, std::adopt_lock);
    condition_.wait_for(lock, std::chrono::milliseconds(milliseconds));
    lock.release();
}

void Condition::notify_one() noexcept {
    condition_.notify_one();
}

void Condition::notify_all() noexcept {
    condition_.notify_all();
}

Thread::~Thread() {
    if (joinable()) std::abort();
}

Error Thread::start(Body body, void* argument) noexcept {
    if (allocation_fails()) return kNotEnoughMemory;
    const Quiet quiet;
    if (const Error planned = enter_call(kStartThread)) return planned;
    auto running = std::make_unique<RunningThread>();
    running->body = body;
    running->argument = argument;
    running->id = ++last_id;
    pthread_attr_t settings;
    pthread_attr_init(&settings);
    pthread_attr_setstacksize(&settings, kStackBytes);
    const int failure = pthread_create(&running->thread, &settings, run_thread, running.get());
    pthread_attr_destroy(&settings);
    if (failure != 0) return kNotEnoughMemory;
    volume().threads.fetch_add(1);
    id_ = running->id;
    handle_ = running.release();
    return kSuccess;
}

Error Thread::try_join() noexcept {
    if (is_current()) return kPossibleDeadlock;
    const Quiet quiet;
    if (const Error planned = enter_call(kJoinThread)) return planned;
    const std::unique_ptr<RunningThread> running(static_cast<RunningThread*>(handle_));
    end_calls_of(*running);
    pthread_join(running->thread, nullptr);
    handle_ = nullptr;
    volume().threads.fetch_sub(1);
    return kSuccess;
}

void Thread::join() noexcept {
    if (try_join() != kSuccess) std::abort();
}

bool Thread::is_current() const noexcept {
    return joinable() && id_ == current_id;
}

char* thread_buffer(std::size_t bytes) noexcept {
    if (allocation_fails()) return nullptr;
    const Quiet quiet;
    if (enter_call(kThreadBuffer) != 0) return nullptr;
    Buffers& store = buffers();
    const std::lock_guard lock(store.mutex);
    Buffer* const current = current_buffer(store);
    if (current == nullptr) return nullptr;
    if (current->capacity < bytes) {
        void* const larger = std::realloc(current->bytes, bytes);
        if (larger == nullptr) return nullptr;
        current->bytes = static_cast<char*>(larger);
        current->capacity = bytes;
    }
    return current->bytes;
}

ExceptionScope::ExceptionScope() noexcept : ready_(enter_call(kExceptionScope) == kSuccess) {}

void detach() noexcept {
    const Quiet quiet;
    Buffers& store = buffers();
    const std::lock_guard lock(store.mutex);
    if (!store.has_key) return;
    pthread_key_delete(store.key);
    store.has_key = false;
    for (const auto& [key, buffer] : store.all) std::free(buffer->bytes);
    store.all.clear();
}

std::int64_t monotonic_nanoseconds() noexcept {
    if (volume().clock_is_frozen.load(std::memory_order_relaxed)) {
        const std::lock_guard lock(volume().mutex);
        return volume().clock;
    }
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

// Nobody waits for it: the clock moves instead, when it is a frozen one.
void sleep(std::uint32_t milliseconds) noexcept {
    const Quiet quiet;
    static_cast<void>(enter_call(kSleep));
    const std::lock_guard lock(volume().mutex);
    volume().slept_milliseconds += milliseconds;
    if (volume().clock_is_frozen) volume().clock += std::int64_t{milliseconds} * 1'000'000;
}

}  // namespace system_search::platform
