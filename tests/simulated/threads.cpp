// Threads, locks, per-thread buffers and the clock of the simulated volume: POSIX threads, with
// the failures that the platform promises.
#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <stdexcept>
#include <unordered_map>

#include "simulated/lock_hook.hpp"
#include "simulated/tree.hpp"
#include "simulated/waits.hpp"

namespace system_search::simulated {
namespace {

// A test that waits for so long fails rather than hangs.
constexpr std::chrono::milliseconds kHalfAMinute = std::chrono::seconds(30);

struct RunningThread {
    enum class State { kNotBegun, kInBody, kLeft };

    platform::Thread::Body body;
    void* argument;
    std::uint32_t id;
    pthread_t thread{};
    // Guarded by Endings::mutex.
    State state = State::kNotBegun;
    bool is_being_ended = false;
};

thread_local std::uint32_t current_id = 0;
thread_local RunningThread* current_thread = nullptr;
std::atomic<std::uint32_t> last_id{0};

// Calls that hang, whoever ends them, and threads that leave their bodies.
struct Endings {
    std::mutex mutex;
    std::condition_variable changed;
    int hanging = 0;
};

// Whoever comes first makes it, which may be a thread whose memory a test lets run out.
template <typename Object>
Object& make_for_good() {
    const Quiet quiet;
    return *new Object;
}

Endings& endings() {
    static Endings& only = make_for_good<Endings>();
    return only;
}

void end_calls_of(RunningThread& thread) {
    const std::lock_guard lock(endings().mutex);
    thread.is_being_ended = true;
    endings().changed.notify_all();
}

bool enter_body(RunningThread& thread) {
    const std::lock_guard lock(endings().mutex);
    if (thread.state == RunningThread::State::kLeft) return false;
    thread.state = RunningThread::State::kInBody;
    return true;
}

void leave_body(RunningThread& thread) {
    const std::lock_guard lock(endings().mutex);
    thread.state = RunningThread::State::kLeft;
    endings().changed.notify_all();
}

void wait_until_left(RunningThread& thread) {
    using State = RunningThread::State;
    std::unique_lock lock(endings().mutex);
    if (thread.state == State::kNotBegun) thread.state = State::kLeft;
    endings().changed.wait(lock, [&] { return thread.state == State::kLeft; });
}

void* run_thread(void* argument) {
    RunningThread& running = *static_cast<RunningThread*>(argument);
    current_id = running.id;
    current_thread = &running;
    static_cast<void>(enter_call(kBeginThread));
    if (!enter_body(running)) return nullptr;
    running.body(running.argument);
    leave_body(running);
    static_cast<void>(enter_call(kEndThread));
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
    static Buffers& only = make_for_good<Buffers>();
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

// A thread that waits for a condition, on that thread's stack. It leaves the list when it is
// notified, before it runs again.
struct Waiter {
    explicit Waiter(const platform::Condition& waited_for) : condition(&waited_for) {}

    const platform::Condition* condition;
    std::condition_variable notified;
    bool is_notified = false;
    Waiter* next = nullptr;
};

// All of them, in the order in which they came.
struct Waits {
    std::mutex mutex;
    std::condition_variable changed;
    Waiter* first = nullptr;
    std::uint32_t count = 0;
    bool time_stands_still = false;
    std::uint32_t longest_limit_milliseconds = 0;
    std::uint64_t lost_notices = 0;
};

Waits& waits() {
    static Waits& only = make_for_good<Waits>();
    return only;
}

void add_waiter(Waits& all, Waiter& waiter) {
    Waiter** end = &all.first;
    while (*end != nullptr) end = &(*end)->next;
    *end = &waiter;
    ++all.count;
    all.changed.notify_all();
}

void remove_waiter(Waits& all, const Waiter& waiter) {
    Waiter** at = &all.first;
    while (*at != &waiter) at = &(*at)->next;
    *at = waiter.next;
    --all.count;
}

void notify(const platform::Condition& condition, std::uint32_t most) {
    Waits& all = waits();
    const std::lock_guard lock(all.mutex);
    for (Waiter* waiter = all.first; waiter != nullptr && most > 0; waiter = waiter->next) {
        if (waiter->condition != &condition) continue;
        remove_waiter(all, *waiter);
        waiter->is_notified = true;
        waiter->notified.notify_one();
        --most;
    }
}

void wait_without_limit(const platform::Condition& condition, std::mutex& mutex) {
    Waits& all = waits();
    Waiter waiter(condition);
    {
        std::unique_lock lock(all.mutex);
        add_waiter(all, waiter);
        mutex.unlock();
        waiter.notified.wait(lock, [&] { return waiter.is_notified; });
    }
    mutex.lock();
}

void wait_with_limit(const platform::Condition& condition, std::mutex& mutex,
                     std::uint32_t milliseconds) {
    Waits& all = waits();
    Waiter waiter(condition);
    {
        std::unique_lock lock(all.mutex);
        all.longest_limit_milliseconds = std::max(all.longest_limit_milliseconds, milliseconds);
        add_waiter(all, waiter);
        mutex.unlock();
        const bool stands_still = all.time_stands_still;
        const auto limit = stands_still ? kHalfAMinute : std::chrono::milliseconds(milliseconds);
        const auto end = std::chrono::system_clock::now() + limit;
        if (!waiter.notified.wait_until(lock, end, [&] { return waiter.is_notified; })) {
            remove_waiter(all, waiter);
            if (stands_still) ++all.lost_notices;
        }
    }
    mutex.lock();
}

}  // namespace

void let_time_stand_still() {
    const std::lock_guard lock(waits().mutex);
    waits().time_stands_still = true;
}

std::uint64_t lost_notices() {
    const std::lock_guard lock(waits().mutex);
    return waits().lost_notices;
}

std::uint32_t longest_limit_milliseconds() {
    const std::lock_guard lock(waits().mutex);
    return waits().longest_limit_milliseconds;
}

bool wait_until_waiting(std::uint32_t threads) {
    Waits& all = waits();
    std::unique_lock lock(all.mutex);
    const auto deadline = std::chrono::system_clock::now() + kHalfAMinute;
    return all.changed.wait_until(lock, deadline, [&] { return all.count == threads; });
}

void reset_waits() {
    const std::lock_guard lock(waits().mutex);
    waits().time_stands_still = false;
    waits().longest_limit_milliseconds = 0;
    waits().lost_notices = 0;
}

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
    const auto deadline = std::chrono::system_clock::now() + kHalfAMinute;
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
    wait_without_limit(*this, mutex.mutex_);
}

void Condition::wait_for(Mutex& mutex, std::uint32_t milliseconds) noexcept {
    wait_with_limit(*this, mutex.mutex_, milliseconds);
}

void Condition::notify_one() noexcept {
    notify(*this, 1);
}

void Condition::notify_all() noexcept {
    notify(*this, UINT32_MAX);
}

struct Thread::Record : RunningThread {};

Thread::~Thread() {
    if (joinable()) std::abort();
}

Error Thread::start(Body body, void* argument) noexcept {
    if (allocation_fails()) return kNotEnoughMemory;
    const Quiet quiet;
    if (const Error planned = enter_call(kStartThread)) return planned;
    std::unique_ptr<Record> record(new Record{{body, argument, ++last_id}});
    pthread_attr_t settings;
    pthread_attr_init(&settings);
    pthread_attr_setstacksize(&settings, kThreadStackBytes);
    const int failure = pthread_create(&record->thread, &settings, run_thread, record.get());
    pthread_attr_destroy(&settings);
    if (failure != 0) return kNotEnoughMemory;
    volume().threads.fetch_add(1);
    record_ = record.release();
    return kSuccess;
}

void Thread::end_body() noexcept {
    const Quiet quiet;
    end_calls_of(*record_);
    wait_until_left(*record_);
}

Error Thread::try_join() noexcept {
    if (is_current()) return kPossibleDeadlock;
    const Quiet quiet;
    if (const Error planned = enter_call(kJoinThread)) return planned;
    end_calls_of(*record_);
    pthread_join(record_->thread, nullptr);
    delete record_;
    record_ = nullptr;
    volume().threads.fetch_sub(1);
    return kSuccess;
}

void Thread::join() noexcept {
    if (try_join() != kSuccess) std::abort();
}

bool Thread::is_current() const noexcept {
    return joinable() && record_->id == current_id;
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
    return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count() +
           static_cast<std::int64_t>(volume().slept_milliseconds) * 1'000'000;
}

// Nobody waits for it: the clock moves instead.
void sleep(std::uint32_t milliseconds) noexcept {
    const Quiet quiet;
    static_cast<void>(enter_call(kSleep));
    const std::lock_guard lock(volume().mutex);
    volume().slept_milliseconds += milliseconds;
    if (volume().clock_is_frozen) volume().clock += std::int64_t{milliseconds} * 1'000'000;
}

}  // namespace system_search::platform
