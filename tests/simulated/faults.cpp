// Plans for platform calls, and the gate.
#include "simulated/faults.hpp"

#include <sys/prctl.h>

#include <bit>
#include <chrono>
#include <thread>

#include "simulated/tree.hpp"

namespace system_search::simulated {

std::atomic<bool> calls_are_planned{false};

namespace {

struct Plan {
    std::uint32_t calls;
    std::uint64_t nth;  // counted by this plan alone
    std::uint64_t times;
    platform::Error error;  // 0: run the hook
    std::function<void()> hook;
    std::uint64_t seen = 0;
    bool hangs = false;  // before it fails with the error
};

struct Plans {
    std::mutex mutex;
    std::vector<Plan> all;
    std::uint64_t counts[kCallKinds] = {};
    std::uint64_t failed = 0;
};

Plans& plans() {
    static Plans& only = *new Plans;
    return only;
}

void start_counting(Plans& current) {
    for (std::uint64_t& count : current.counts) count = 0;
    current.failed = 0;
    calls_are_planned = true;
}

}  // namespace

platform::Error planned_call(Call call) {
    Plans& current = plans();
    platform::Error error = platform::kSuccess;
    std::vector<std::function<void()>> hooks;
    bool hangs = false;
    {
        const std::lock_guard lock(current.mutex);
        ++current.counts[std::countr_zero(static_cast<std::uint32_t>(call))];
        for (Plan& plan : current.all) {
            if ((plan.calls & call) == 0) continue;
            ++plan.seen;
            if (plan.seen < plan.nth || plan.seen - plan.nth >= plan.times) continue;
            if (plan.error == 0) {
                hooks.push_back(plan.hook);
            } else if (error == 0) {
                error = plan.error;
                hangs = plan.hangs;
                ++current.failed;
            }
        }
    }
    for (const auto& hook : hooks) hook();
    if (hangs) hang_until_ended();
    return error;
}

void fail_platform_call(std::uint64_t nth, platform::Error error, std::uint32_t calls,
                        std::uint64_t times) {
    const Quiet quiet;
    Plans& current = plans();
    const std::lock_guard lock(current.mutex);
    current.all.push_back({calls, nth, times, error, {}, 0});
    start_counting(current);
}

void hang_platform_call(std::uint64_t nth, std::uint32_t calls, std::uint64_t times) {
    const Quiet quiet;
    Plans& current = plans();
    const std::lock_guard lock(current.mutex);
    current.all.push_back({calls, nth, times, platform::kOperationAborted, {}, 0, true});
    start_counting(current);
}

void on_platform_call(std::uint64_t nth, std::uint32_t calls, std::function<void()> hook,
                      std::uint64_t times) {
    const Quiet quiet;
    Plans& current = plans();
    const std::lock_guard lock(current.mutex);
    current.all.push_back({calls, nth, times, platform::kSuccess, std::move(hook), 0});
    start_counting(current);
}

void count_platform_calls() {
    const std::lock_guard lock(plans().mutex);
    start_counting(plans());
}

std::uint64_t platform_calls(std::uint32_t calls) {
    const std::lock_guard lock(plans().mutex);
    std::uint64_t sum = 0;
    for (std::uint32_t kind = 0; kind < kCallKinds; ++kind) {
        if ((calls & (1u << kind)) != 0) sum += plans().counts[kind];
    }
    return sum;
}

std::uint64_t failed_platform_calls() {
    const std::lock_guard lock(plans().mutex);
    return plans().failed;
}

void forget_call_plans() {
    const Quiet quiet;
    const std::lock_guard lock(plans().mutex);
    plans().all.clear();
    calls_are_planned = false;
}

std::atomic<bool> disk_is_slow{false};

namespace {
Latencies slow_disk;  // written while nothing runs
}

void set_latencies(const Latencies& latencies) {
    slow_disk = latencies;
    disk_is_slow = latencies.open != 0 || latencies.read != 0 || latencies.attributes != 0;
}

void wait_for_disk(std::int64_t Latencies::* which) {
    const std::int64_t nanoseconds = slow_disk.*which;
    if (nanoseconds == 0) return;
    {
        const std::lock_guard lock(volume().mutex);
        if (volume().clock_is_frozen) {
            volume().clock += nanoseconds;
            return;
        }
    }
    // A thread of the system may sleep 50 us longer than it asked for.
    prctl(PR_SET_TIMERSLACK, 1);
    std::this_thread::sleep_for(std::chrono::nanoseconds(nanoseconds));
}

void reset_faults() {
    forget_call_plans();
    set_latencies({});
    const std::lock_guard lock(plans().mutex);
    start_counting(plans());
    calls_are_planned = false;
}

void Gate::hold() {
    std::unique_lock lock(mutex_);
    held_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return released_; });
}

void Gate::release() {
    // Notified under the lock: the waiting side may destroy the gate as soon as it has it.
    const std::lock_guard lock(mutex_);
    released_ = true;
    changed_.notify_all();
}

bool Gate::wait_until_held() {
    std::unique_lock lock(mutex_);
    const auto deadline = std::chrono::system_clock::now() + std::chrono::seconds(30);
    return changed_.wait_until(lock, deadline, [this] { return held_; });
}

}  // namespace system_search::simulated
