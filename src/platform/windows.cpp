// The system behind platform.hpp: 64-bit Windows.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>

#include "platform/platform.hpp"
#include "platform/system_path.hpp"
#include "platform/windows_path.hpp"
#include "platform/windows_runtime.hpp"

namespace system_search::platform {
namespace {

static_assert(sizeof(wchar_t) == sizeof(char16_t));
static_assert(sizeof(SRWLOCK) == sizeof(void*));
static_assert(sizeof(Child::name) == sizeof(WIN32_FIND_DATAW::cFileName));

const wchar_t* wide(const char16_t* text) {
    return reinterpret_cast<const wchar_t*>(text);
}

Error last_error() {
    return GetLastError();
}

Error result_of(BOOL succeeded) {
    return succeeded ? kSuccess : last_error();
}

// Handles are kept as null when closed, whatever value the system uses for "none".
void* handle_or_null(HANDLE handle) {
    return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::uint64_t join_halves(DWORD high, DWORD low) {
    return (std::uint64_t{high} << 32) | low;
}

}  // namespace

// ---- Enumerating a folder -----------------------------------------------------------------------

namespace {

bool is_dot_or_dotdot(const wchar_t* name) {
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

void fill_child(const WIN32_FIND_DATAW& found, Child& child) {
    child.attributes = found.dwFileAttributes;
    child.reparse_tag = found.dwReserved0;
    child.type_error = found.dwFileAttributes == INVALID_FILE_ATTRIBUTES ? kInvalidName : kSuccess;
    child.name_units = static_cast<std::uint32_t>(std::wcslen(found.cFileName));
    std::memcpy(child.name, found.cFileName, child.name_units * sizeof(char16_t));
}

// Continues behind `found`, which may be "." or "..", to the next real child.
Error skip_dots(HANDLE search, WIN32_FIND_DATAW& found, Child& child) {
    while (is_dot_or_dotdot(found.cFileName)) {
        if (!FindNextFileW(search, &found)) return last_error();
    }
    fill_child(found, child);
    return kSuccess;
}

}  // namespace

namespace {

// How some old redirectors and file systems refuse what they do not know, and FAT some names.
bool is_refused_extra(Error error) {
    return error == ERROR_INVALID_PARAMETER || error == ERROR_NOT_SUPPORTED ||
           error == ERROR_NO_UNICODE_TRANSLATION;
}

// Null: failed, with the system's last error. The basic level leaves out the short names, which
// cost the system a lookup for each child; the large fetch brings more children a round trip.
void* find_first(const SystemPath& pattern, WIN32_FIND_DATAW& found) {
    void* const search =
        handle_or_null(FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &found,
                                        FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH));
    if (search != nullptr || !is_refused_extra(last_error())) return search;
    return handle_or_null(FindFirstFileExW(pattern.c_str(), FindExInfoStandard, &found,
                                           FindExSearchNameMatch, nullptr, 0));
}

}  // namespace

Error Enumeration::open(const std::u16string& folder, Child& first) {
    close();
    std::u16string pattern;
    pattern.reserve(folder.size() + 2);
    pattern = folder;
    if (pattern.empty() || (pattern.back() != u'\\' && pattern.back() != u'/')) pattern += u'\\';
    pattern += u'*';
    const SystemPath path = SystemPath::found(pattern.c_str());

    WIN32_FIND_DATAW found;
    handle_ = find_first(path, found);
    if (handle_ == nullptr) {
        // The root of an empty volume has no "." and "..", which every other folder has.
        const Error error = last_error();
        return error == kFileNotFound && is_volume_root(folder) ? kNoMoreFiles : error;
    }
    const Error error = skip_dots(handle_, found, first);
    if (error != kSuccess) close();
    return error;
}

Error Enumeration::next(Child& child) noexcept {
    WIN32_FIND_DATAW found;
    if (!FindNextFileW(handle_, &found)) return last_error();
    return skip_dots(handle_, found, child);
}

void Enumeration::close() noexcept {
    if (handle_ != nullptr) FindClose(handle_);
    handle_ = nullptr;
}

// ---- Asking about a path ------------------------------------------------------------------------

std::uint32_t attributes(const char16_t* path) {
    static_assert(kInvalidAttributes == INVALID_FILE_ATTRIBUTES);
    return GetFileAttributesW(SystemPath::found(path).c_str());
}

namespace {

Error read_attributes(const SystemPath& path, WIN32_FILE_ATTRIBUTE_DATA& data) {
    return result_of(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
}

Error target_status(HANDLE target, Status& out) {
    FILE_BASIC_INFO basic;
    if (!GetFileInformationByHandleEx(target, FileBasicInfo, &basic, sizeof basic)) {
        return last_error();
    }
    out = {basic.FileAttributes, 0};
    // A file system without reparse points, to which a junction may well lead, refuses this query.
    if ((out.attributes & kAttributeReparsePoint) == 0) return kSuccess;
    FILE_ATTRIBUTE_TAG_INFO tag;
    if (!GetFileInformationByHandleEx(target, FileAttributeTagInfo, &tag, sizeof tag)) {
        return last_error();
    }
    out.reparse_tag = tag.ReparseTag;
    return kSuccess;
}

}  // namespace

Error status_following_links(const char16_t* path, Status& out) noexcept {
    const SystemPath given = SystemPath::given(path);
    if (!given) return kNotEnoughMemory;
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (const Error error = read_attributes(given, data)) return error;
    out = {data.dwFileAttributes, 0};
    if ((out.attributes & kAttributeReparsePoint) == 0) return kSuccess;

    // Only opening it follows a link; the flag is what lets a folder be opened at all.
    HANDLE const target = CreateFileW(given.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr,
                                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (target == INVALID_HANDLE_VALUE) return last_error();
    const Error error = target_status(target, out);
    CloseHandle(target);
    return error;
}

Error file_information(const char16_t* path, FileInformation& out) {
    WIN32_FILE_ATTRIBUTE_DATA data;
    Error error = read_attributes(SystemPath::found(path), data);
    if (is_not_found(error) && !is_read_as_written(path)) {
        const SystemPath given = SystemPath::given(path);
        if (!given) throw std::bad_alloc();
        error = read_attributes(given, data);
    }
    if (error != kSuccess) return error;
    out = {data.dwFileAttributes, join_halves(data.nFileSizeHigh, data.nFileSizeLow),
           join_halves(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
    return kSuccess;
}

std::string error_message(Error error) {
    constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    constexpr DWORD kEnglish = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
    wchar_t sentence[512];
    DWORD units = FormatMessageW(kFlags, nullptr, error, kEnglish, sentence, 512, nullptr);
    // A system without English texts answers in its own language.
    if (units == 0) units = FormatMessageW(kFlags, nullptr, error, 0, sentence, 512, nullptr);
    while (units > 0 && sentence[units - 1] <= L' ') --units;
    if (units == 0) return "system error " + std::to_string(error);

    char text[3 * 512];
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, sentence, static_cast<int>(units), text,
                                          sizeof text, nullptr, nullptr);
    return {text, static_cast<std::size_t>(bytes)};
}

// ---- Drives -------------------------------------------------------------------------------------

std::uint32_t drive_strings(char16_t* buffer, std::uint32_t capacity_units) noexcept {
    return GetLogicalDriveStringsW(capacity_units, reinterpret_cast<wchar_t*>(buffer));
}

std::uint32_t drive_type(const char16_t* root) noexcept {
    static_assert(kDriveRemovable == DRIVE_REMOVABLE && kDriveFixed == DRIVE_FIXED);
    return GetDriveTypeW(wide(root));
}

// ---- Files --------------------------------------------------------------------------------------

Error File::open_for_reading(const char16_t* path) noexcept {
    close();
    const SystemPath given = SystemPath::given(path);
    if (!given) return kNotEnoughMemory;
    handle_ = handle_or_null(CreateFileW(given.c_str(), GENERIC_READ, kShareAll, nullptr,
                                         OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    return handle_ != nullptr ? kSuccess : last_error();
}

Error File::create(const char16_t* path) noexcept {
    close();
    const SystemPath given = SystemPath::given(path);
    if (!given) return kNotEnoughMemory;
    handle_ = handle_or_null(CreateFileW(given.c_str(), GENERIC_WRITE, kShareAll, nullptr,
                                         CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    return handle_ != nullptr ? kSuccess : last_error();
}

namespace {

// What one system call may move: its counts have 32 bits.
DWORD piece(std::size_t bytes) {
    constexpr std::size_t kLargest = std::size_t{1} << 30;
    return static_cast<DWORD>(bytes < kLargest ? bytes : kLargest);
}

}  // namespace

Error File::read(void* buffer, std::size_t bytes, std::size_t& got) noexcept {
    DWORD read = 0;
    const Error error = result_of(ReadFile(handle_, buffer, piece(bytes), &read, nullptr));
    got = read;
    return error;
}

Error File::write(const void* buffer, std::size_t bytes) noexcept {
    const char* from = static_cast<const char*>(buffer);
    while (bytes > 0) {
        DWORD written = 0;
        if (!WriteFile(handle_, from, piece(bytes), &written, nullptr)) return last_error();
        if (written == 0) return kDiskFull;
        from += written;
        bytes -= written;
    }
    return kSuccess;
}

Error File::flush() noexcept {
    const Error error = result_of(FlushFileBuffers(handle_));
    // Some virtual drives know no flushing; their writes are as safe as they get.
    const bool is_unknown = error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED;
    return is_unknown ? kSuccess : error;
}

Error File::close() noexcept {
    if (handle_ == nullptr) return kSuccess;
    void* const handle = handle_;
    handle_ = nullptr;
    return result_of(CloseHandle(handle));
}

Error remove_file(const char16_t* path) noexcept {
    const SystemPath given = SystemPath::given(path);
    return given ? result_of(DeleteFileW(given.c_str())) : kNotEnoughMemory;
}

Error replace_file(const char16_t* source, const char16_t* destination) noexcept {
    const SystemPath from = SystemPath::given(source);
    const SystemPath to = SystemPath::given(destination);
    if (!from || !to) return kNotEnoughMemory;
    return result_of(
        MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
}

Error create_folder(const char16_t* path) noexcept {
    const SystemPath given = SystemPath::given(path);
    return given ? result_of(CreateDirectoryW(given.c_str(), nullptr)) : kNotEnoughMemory;
}

// ---- Threads and time ---------------------------------------------------------------------------

void Mutex::lock() noexcept {
    AcquireSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&slim_lock_));
}

void Mutex::unlock() noexcept {
    ReleaseSRWLockExclusive(reinterpret_cast<SRWLOCK*>(&slim_lock_));
}

static_assert(sizeof(CONDITION_VARIABLE) == sizeof(void*));

void Condition::wait(Mutex& mutex) noexcept {
    SleepConditionVariableSRW(reinterpret_cast<CONDITION_VARIABLE*>(&condition_variable_),
                              reinterpret_cast<SRWLOCK*>(&mutex.slim_lock_), INFINITE, 0);
}

void Condition::wait_for(Mutex& mutex, std::uint32_t milliseconds) noexcept {
    SleepConditionVariableSRW(reinterpret_cast<CONDITION_VARIABLE*>(&condition_variable_),
                              reinterpret_cast<SRWLOCK*>(&mutex.slim_lock_), milliseconds, 0);
}

void Condition::notify_one() noexcept {
    WakeConditionVariable(reinterpret_cast<CONDITION_VARIABLE*>(&condition_variable_));
}

void Condition::notify_all() noexcept {
    WakeAllConditionVariable(reinterpret_cast<CONDITION_VARIABLE*>(&condition_variable_));
}

// What the thread and its owner share, from the start to the join.
struct Thread::Record {
    enum class State { kNotBegun, kInBody, kLeft };

    Record(Body its_body, void* its_argument) : body(its_body), argument(its_argument) {}

    const Body body;
    void* const argument;
    HANDLE handle = nullptr;  // the owner's
    DWORD id = 0;

    Mutex mutex;
    Condition left;
    State state SS_GUARDED_BY(mutex) = State::kNotBegun;

    // False when the body is not to be run any more.
    bool enter() {
        const MutexLock lock(mutex);
        if (state == State::kLeft) return false;
        state = State::kInBody;
        return true;
    }
    void leave() {
        const MutexLock lock(mutex);
        state = State::kLeft;
        left.notify_one();
    }
    // Under the lock, so that the thread cannot leave its body meanwhile: on the way out it makes
    // calls for other modules. Between two calls there is nothing to end: a later attempt does it.
    void end_call() SS_REQUIRES(mutex) {
        if (state == State::kInBody) CancelSynchronousIo(handle);
    }

    static DWORD WINAPI run(void* record);
};

namespace {

// How long the call that a thread is in may still take before it is ended: at first so short that
// nobody waits for a dead share, then longer, so that a call comes to its end that has to be made
// again and again until it does, as the removal of a temporary file has to.
constexpr DWORD kFirstWaitMilliseconds = 10;

DWORD longer_wait(DWORD milliseconds) {
    constexpr DWORD kLongestWaitMilliseconds = 640;
    return std::min(milliseconds * 2, kLongestWaitMilliseconds);
}

// A process with many thread-local slots needs memory for a thread's first one. Without it nothing
// may be thrown, and the body's outcome could not be reported: wait until there is some again.
void run_in_exception_scope(Thread::Body body, void* argument) {
    for (;; Sleep(1)) {
        const ExceptionScope exceptions;
        if (exceptions.ready()) return body(argument);
    }
}

// The folders of a cloud drive are reparse points, whether their files are on the disk or not. A
// thread may ask to be shown them as ordinary folders, which fetches nothing; then only what is
// really a reparse point looks like one. Windows 10 version 1709 and later; without it, they look
// as they are. Links and junctions are links and junctions either way.
void show_cloud_items_as_ordinary() {
    using SetMode = CHAR(NTAPI*)(CHAR mode);
    constexpr CHAR kDisguisePlaceholders = 1;
    HMODULE const ntdll = GetModuleHandleW(L"ntdll.dll");
    if (ntdll == nullptr) return;
    FARPROC const address = GetProcAddress(ntdll, "RtlSetThreadPlaceholderCompatibilityMode");
    if (address == nullptr) return;
    reinterpret_cast<SetMode>(reinterpret_cast<void*>(address))(kDisguisePlaceholders);
}

}  // namespace

DWORD WINAPI Thread::Record::run(void* parameter) {
    Record& record = *static_cast<Record*>(parameter);
    if (!record.enter()) return 0;
    // A drive without a medium is an error like any other, not a box on the user's screen that this
    // thread, and whoever destroys its handle, would wait for.
    SetThreadErrorMode(SEM_FAILCRITICALERRORS, nullptr);
    show_cloud_items_as_ordinary();
    run_in_exception_scope(record.body, record.argument);
    record.leave();
    return 0;
}

Thread::~Thread() {
    if (joinable()) std::terminate();
}

Error Thread::start(Body body, void* argument) noexcept {
    auto* const record = new (std::nothrow) Record(body, argument);
    if (record == nullptr) return kNotEnoughMemory;
    record->handle = CreateThread(nullptr, kThreadStackBytes, Record::run, record,
                                  STACK_SIZE_PARAM_IS_A_RESERVATION, &record->id);
    if (record->handle == nullptr) {
        const Error error = last_error();
        delete record;
        return error;
    }
    record_ = record;
    return kSuccess;
}

bool Thread::is_current() const noexcept {
    return joinable() && record_->id == GetCurrentThreadId();
}

void Thread::end_body() noexcept {
    Record& record = *record_;
    const MutexLock lock(record.mutex);
    if (record.state == Record::State::kNotBegun) record.state = Record::State::kLeft;
    for (DWORD wait = kFirstWaitMilliseconds; record.state != Record::State::kLeft;
         wait = longer_wait(wait)) {
        record.left.wait_for(record.mutex, wait);
        record.end_call();
    }
}

// By the thread's handle and not by its record: where the process itself is ending, the system has
// ended the thread wherever it was.
Error Thread::try_join() noexcept {
    if (is_current()) return kPossibleDeadlock;
    for (DWORD wait = kFirstWaitMilliseconds;; wait = longer_wait(wait)) {
        const DWORD waited = WaitForSingleObject(record_->handle, wait);
        if (waited == WAIT_OBJECT_0) break;
        if (waited != WAIT_TIMEOUT) return last_error();
        const MutexLock lock(record_->mutex);
        record_->end_call();
    }
    CloseHandle(record_->handle);
    delete record_;
    record_ = nullptr;
    return kSuccess;
}

void Thread::join() noexcept {
    if (try_join() != kSuccess) std::terminate();
}

namespace {

struct ThreadBuffer {
    std::size_t capacity;
    char text[1];
};

void WINAPI free_thread_buffer(void* buffer) {
    std::free(buffer);
}

// Allocated at the first use: attaching to the process does no work.
std::atomic<DWORD> thread_buffer_slot{FLS_OUT_OF_INDEXES};

DWORD acquire_thread_buffer_slot() {
    DWORD slot = thread_buffer_slot;
    if (slot != FLS_OUT_OF_INDEXES) return slot;
    const DWORD fresh = FlsAlloc(free_thread_buffer);
    if (fresh == FLS_OUT_OF_INDEXES) return fresh;
    if (thread_buffer_slot.compare_exchange_strong(slot, fresh)) return fresh;
    FlsFree(fresh);  // another thread was first
    return slot;
}

}  // namespace

char* thread_buffer(std::size_t bytes) noexcept {
    const DWORD slot = acquire_thread_buffer_slot();
    if (slot == FLS_OUT_OF_INDEXES) return nullptr;
    auto* const held = static_cast<ThreadBuffer*>(FlsGetValue(slot));
    if (held != nullptr && held->capacity >= bytes) return held->text;

    auto* const grown = static_cast<ThreadBuffer*>(std::malloc(sizeof(ThreadBuffer) + bytes));
    if (grown == nullptr) return nullptr;
    grown->capacity = bytes;
    if (!FlsSetValue(slot, grown)) {
        std::free(grown);
        return nullptr;
    }
    std::free(held);
    return grown->text;
}

void detach() noexcept {
    // Frees the buffers of all threads: the callback runs for each, while its code is still here.
    const DWORD slot = thread_buffer_slot.exchange(FLS_OUT_OF_INDEXES);
    if (slot != FLS_OUT_OF_INDEXES) FlsFree(slot);
    release_runtime();
}

std::int64_t monotonic_nanoseconds() noexcept {
    LARGE_INTEGER ticks;
    LARGE_INTEGER ticks_per_second;
    QueryPerformanceCounter(&ticks);
    QueryPerformanceFrequency(&ticks_per_second);
    constexpr std::int64_t kNanoseconds = 1'000'000'000;
    const std::int64_t frequency = ticks_per_second.QuadPart;
    // In two parts: the product of all ticks would overflow within hours.
    return ticks.QuadPart / frequency * kNanoseconds +
           ticks.QuadPart % frequency * kNanoseconds / frequency;
}

void sleep(std::uint32_t milliseconds) noexcept {
    Sleep(milliseconds);
}

}  // namespace system_search::platform
