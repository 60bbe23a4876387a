// What the statically linked C++ runtime would take from the host's process, taken care of.
//
// Left alone, the runtime keeps its per-thread exception record in emulated thread-local storage:
// one slot of the process for each load of the library that is never given back, until there is
// none left and the host is ended; memory for each thread that ever threw; and abort() when that
// memory is not to be had, which is when std::bad_alloc is thrown. The record is two words, its
// layout is part of the published C++ interface for this platform, and the functions that give it
// out may be replaced. Here it lies on the stack of whoever enters the library: see ExceptionScope.
//
// The same runtime locks a mutex around its reserve for exceptions thrown when memory is short. Its
// own mutexes allocate at their first use; the four functions below stand in for them. Its start
// code would bring static thread-local storage along, unless its callback for that is defined here.
//
// The runtime's stack protector would load the system's cryptography while the library is being
// attached, under the loader's lock. The three names that the compiler needs of it stand here.
#include "platform/windows_runtime.hpp"

#include <cpuid.h>
#include <immintrin.h>
#include <pthread.h>
#include <windows.h>

#include <atomic>
#include <cstdint>

#include "platform/platform.hpp"

// The names are the runtime's, and its mutex is opened here by right.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
// NOLINTBEGIN(readability-identifier-naming,cert-fio38-c,misc-non-copyable-objects)

// Frees the runtime's reserve for exceptions, which it allocates when the library is loaded.
namespace __gnu_cxx {
void __freeres();
}

extern "C" std::uintptr_t __stack_chk_guard;

namespace system_search::platform {
namespace {

struct ExceptionRecord {
    void* caught;           // the stack of exceptions being handled
    unsigned int uncaught;  // how many are in flight
};
static_assert(sizeof(ExceptionRecord) == sizeof(ExceptionScope::record));

// Which thread-local slot holds a thread's innermost record.
std::atomic<DWORD> record_slot{TLS_OUT_OF_INDEXES};

DWORD acquire_record_slot() {
    DWORD slot = record_slot;
    if (slot != TLS_OUT_OF_INDEXES) return slot;
    const DWORD fresh = TlsAlloc();
    if (fresh == TLS_OUT_OF_INDEXES) return fresh;
    if (record_slot.compare_exchange_strong(slot, fresh)) return fresh;
    TlsFree(fresh);  // another thread was first
    return slot;
}

// Looking at the slot must not disturb the error number of the call that an exception reports.
void* record_of_this_thread(DWORD slot) {
    const DWORD error = GetLastError();
    void* const record = TlsGetValue(slot);
    SetLastError(error);
    return record;
}

}  // namespace

ExceptionScope::ExceptionScope() noexcept {
    const DWORD slot = acquire_record_slot();
    if (slot == TLS_OUT_OF_INDEXES) return;
    outer_ = record_of_this_thread(slot);
    ready_ = TlsSetValue(slot, static_cast<void*>(record)) != 0;
}

ExceptionScope::~ExceptionScope() {
    if (ready_) TlsSetValue(record_slot, outer_);
}

namespace {

__attribute__((target("rdrnd"))) std::uint64_t random_of_the_processor() noexcept {
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    unsigned long long random = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_RDRND) == 0) return 0;
    return _rdrand64_step(&random) != 0 ? random : 0;
}

}  // namespace

// No call of the system: the processor's random number where it has one, and what differs between
// any two loads everywhere. The guard keeps a zero byte, at which a text that overflows stops.
__attribute__((no_stack_protector)) void seed_stack_guard() noexcept {
    constexpr std::uint64_t kMix = 0x9E37'79B9'7F4A'7C15;
    std::uint64_t seed = __rdtsc();
    seed = (seed ^ reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0))) * kMix;
    seed = (seed ^ reinterpret_cast<std::uintptr_t>(&__stack_chk_guard)) * kMix;
    seed ^= random_of_the_processor();
    __stack_chk_guard = (seed ^ (seed >> 32)) << 8;
}

void release_runtime() noexcept {
    const DWORD slot = record_slot.exchange(TLS_OUT_OF_INDEXES);
    if (slot != TLS_OUT_OF_INDEXES) TlsFree(slot);
    __gnu_cxx::__freeres();
}

}  // namespace system_search::platform

extern "C" {

// What every protected function puts behind its arrays. The same everywhere until it is seeded.
std::uintptr_t __stack_chk_guard = 0xB7E1'5162'8AED'2A00;

// The stack is not to be trusted any more: no handler runs, the system ends the process at once.
[[noreturn]] void __stack_chk_fail() {
    constexpr unsigned kStackCookieCheckFailure = 2;
    asm volatile("int $0x29" : : "c"(kStackCookieCheckFailure));
    __builtin_unreachable();
}

// The same for the checked copies of fortified code.
[[noreturn]] void __chk_fail() {
    __stack_chk_fail();
}

// The runtime's start code asks for this one, and with it would come static thread-local storage,
// which nothing here uses: the loader then keeps memory for the library in every thread of the
// host, tells it of each thread, and does not let it switch that off.
extern const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback;
const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback = nullptr;

void* __cxa_get_globals_fast() noexcept {
    using namespace system_search::platform;
    // Only std::terminate asks outside of every scope; one record serves it.
    static ExceptionRecord outside_of_scopes;
    void* const record = record_of_this_thread(record_slot);
    return record != nullptr ? record : &outside_of_scopes;
}

void* __cxa_get_globals() noexcept {
    return __cxa_get_globals_fast();
}

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t*) {
    *mutex = 0;
    return 0;
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    // A slim lock starts at 0, the runtime's static initialiser is something else.
    pthread_mutex_t never_used = PTHREAD_MUTEX_INITIALIZER;
    std::atomic_ref(*mutex).compare_exchange_strong(never_used, 0);
    AcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(mutex));
    return 0;
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) {
    ReleaseSRWLockExclusive(reinterpret_cast<SRWLOCK*>(mutex));
    return 0;
}

int pthread_mutex_destroy(pthread_mutex_t*) {
    return 0;
}

}  // extern "C"

// NOLINTEND(readability-identifier-naming,cert-fio38-c,misc-non-copyable-objects)
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
