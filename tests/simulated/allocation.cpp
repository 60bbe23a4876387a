// The process's allocation functions, replaced so that the Nth one can fail. Programs are linked
// with --wrap for malloc, calloc and realloc (cmake/native_core.cmake), which turns the calls that
// are compiled in, but not those of shared libraries, to the functions below.
#include <malloc.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

#include "simulated/tree.hpp"

extern "C" {
void* __real_malloc(std::size_t bytes);
void* __real_calloc(std::size_t count, std::size_t bytes);
void* __real_realloc(void* old, std::size_t bytes);
void* __wrap_malloc(std::size_t bytes);
void* __wrap_calloc(std::size_t count, std::size_t bytes);
void* __wrap_realloc(void* old, std::size_t bytes);
}

namespace system_search::simulated {
namespace {

std::atomic<bool> armed{false};
std::atomic<bool> was_hit{false};
std::atomic<std::uint64_t> count{0};
std::atomic<std::size_t> largest_bytes{0};
std::atomic<std::uint64_t> first_failure{0};
std::atomic<std::uint64_t> failures{0};

std::atomic<bool> watched{false};
std::atomic<std::int64_t> live_bytes{0};
std::atomic<std::int64_t> most_live_bytes{0};

bool is_watched() {
    return watched.load(std::memory_order_relaxed) && !Quiet::here();
}

void* gave_out(void* memory) {
    if (memory == nullptr || !is_watched()) return memory;
    const auto bytes = static_cast<std::int64_t>(malloc_usable_size(memory));
    const std::int64_t live = live_bytes.fetch_add(bytes) + bytes;
    std::int64_t most = most_live_bytes;
    while (most < live && !most_live_bytes.compare_exchange_weak(most, live)) {
    }
    return memory;
}

void take_back(void* memory) noexcept {
    if (memory != nullptr && is_watched()) {
        live_bytes.fetch_sub(static_cast<std::int64_t>(malloc_usable_size(memory)));
    }
    std::free(memory);
}

void* allocate(std::size_t bytes) noexcept {
    if (allocation_fails(bytes)) return nullptr;
    return gave_out(__real_malloc(bytes == 0 ? 1 : bytes));
}

void* allocate(std::size_t bytes, std::align_val_t alignment) noexcept {
    if (allocation_fails(bytes)) return nullptr;
    const auto units = static_cast<std::size_t>(alignment);
    return gave_out(std::aligned_alloc(units, (bytes + units - 1) / units * units));
}

void* or_throw(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

bool allocation_fails(std::size_t bytes) noexcept {
    if (!armed.load(std::memory_order_relaxed) || Quiet::here()) return false;
    std::size_t largest = largest_bytes;
    while (largest < bytes && !largest_bytes.compare_exchange_weak(largest, bytes)) {
    }
    const std::uint64_t number = count.fetch_add(1) + 1;
    const std::uint64_t first = first_failure.load();
    if (first == 0 || number < first || number - first >= failures.load()) return false;
    was_hit = true;
    return true;
}

AllocationFault::AllocationFault(std::uint64_t nth, std::uint64_t times) {
    first_failure = nth;
    failures = times;
    count = 0;
    largest_bytes = 0;
    was_hit = false;
    armed = true;
}

AllocationFault::~AllocationFault() {
    armed = false;
}

std::uint64_t AllocationFault::counted() {
    return count;
}

std::size_t AllocationFault::largest() {
    return largest_bytes;
}

bool AllocationFault::hit() {
    return was_hit;
}

HeapWatch::HeapWatch() {
    live_bytes = 0;
    most_live_bytes = 0;
    watched = true;
}

HeapWatch::~HeapWatch() {
    watched = false;
}

std::int64_t HeapWatch::bytes() {
    return live_bytes;
}

std::int64_t HeapWatch::most_bytes() {
    return most_live_bytes;
}

constinit thread_local int Quiet::depth_ = 0;

}  // namespace system_search::simulated

using system_search::simulated::allocate;
using system_search::simulated::or_throw;
using system_search::simulated::take_back;

extern "C" {

void* __wrap_malloc(std::size_t bytes) {
    return system_search::simulated::allocation_fails(bytes) ? nullptr : __real_malloc(bytes);
}

void* __wrap_calloc(std::size_t count, std::size_t bytes) {
    const bool fails = system_search::simulated::allocation_fails(count * bytes);
    return fails ? nullptr : __real_calloc(count, bytes);
}

void* __wrap_realloc(void* old, std::size_t bytes) {
    const bool fails = system_search::simulated::allocation_fails(bytes);
    return fails ? nullptr : __real_realloc(old, bytes);
}

}  // extern "C"

// clang-format off
void* operator new(std::size_t n) { return or_throw(allocate(n)); }
void* operator new[](std::size_t n) { return or_throw(allocate(n)); }
void* operator new(std::size_t n, std::align_val_t a) { return or_throw(allocate(n, a)); }
void* operator new[](std::size_t n, std::align_val_t a) { return or_throw(allocate(n, a)); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return allocate(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return allocate(n); }
void* operator new(std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return allocate(n, a); }
void* operator new[](std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return allocate(n, a); }
void operator delete(void* p) noexcept { take_back(p); }
void operator delete[](void* p) noexcept { take_back(p); }
void operator delete(void* p, std::size_t) noexcept { take_back(p); }
void operator delete[](void* p, std::size_t) noexcept { take_back(p); }
void operator delete(void* p, std::align_val_t) noexcept { take_back(p); }
void operator delete[](void* p, std::align_val_t) noexcept { take_back(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { take_back(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { take_back(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { take_back(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { take_back(p); }
void operator delete(void* p, std::align_val_t, const std::nothrow_t&) noexcept { take_back(p); }
void operator delete[](void* p, std::align_val_t, const std::nothrow_t&) noexcept { take_back(p); }
// clang-format on
