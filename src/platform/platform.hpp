// The operating system as this library needs it: plain functions and move-only handles.
//
// windows.cpp implements this header for the shipped DLL; the tests link a simulated volume
// instead, so that every rule of the core runs natively, with any failure injected. There are no
// virtual calls: the implementation is chosen when the program is linked.
//
// Paths are UTF-16 (char16_t), NUL-terminated where a pointer is taken, and of any length. A path
// is either *given* by the host, and means what it would mean to every program; or it is *found*:
// the system named its last components, and each of them means exactly what is written, though a
// program that hands over "x." or "nul" would be given something else. Each function says which.
// Errors are system error numbers; 0 is success. Nothing here throws, except std::bad_alloc where
// a function says so.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/thread_annotations.hpp"

#if !defined(_WIN32)
#include <mutex>
#endif

namespace system_search::platform {

using Error = std::uint32_t;

inline constexpr Error kSuccess = 0;
inline constexpr Error kFileNotFound = 2;
inline constexpr Error kPathNotFound = 3;
inline constexpr Error kAccessDenied = 5;
inline constexpr Error kNotEnoughMemory = 8;
inline constexpr Error kNoMoreFiles = 18;
inline constexpr Error kSharingViolation = 32;
inline constexpr Error kLockViolation = 33;
inline constexpr Error kBadNetworkPath = 53;
inline constexpr Error kNetworkNameDeleted = 64;
inline constexpr Error kFileExists = 80;
inline constexpr Error kDiskFull = 112;
inline constexpr Error kInvalidName = 123;
inline constexpr Error kBadPathName = 161;
inline constexpr Error kAlreadyExists = 183;
inline constexpr Error kInvalidDirectory = 267;
inline constexpr Error kOperationAborted = 995;  // ended by whoever joins the thread
inline constexpr Error kPossibleDeadlock = 1131;
inline constexpr Error kCannotAccessFile = 1920;   // a reparse point that the system cannot open
inline constexpr Error kCannotResolveName = 1921;  // links that lead in a circle

// Errors that say that a path, or a part of it, is not there.
constexpr bool is_not_found(Error error) {
    switch (error) {
        case kFileNotFound:
        case kPathNotFound:
        case kBadNetworkPath:
        case kNetworkNameDeleted:
        case kInvalidName:
        case kBadPathName:
        case kInvalidDirectory:
            return true;
        default:
            return false;
    }
}

inline constexpr std::uint32_t kAttributeDirectory = 0x10;
inline constexpr std::uint32_t kAttributeReparsePoint = 0x400;
// What attributes() gives when it fails. Every bit is set, the reparse-point bit included.
inline constexpr std::uint32_t kInvalidAttributes = 0xFFFFFFFF;

inline constexpr std::uint32_t kTagMountPoint = 0xA0000003;
inline constexpr std::uint32_t kTagSymbolicLink = 0xA000000C;

// A symbolic link or a junction: it leads elsewhere and is never followed. The tag means something
// only with kAttributeReparsePoint.
constexpr bool is_link(std::uint32_t attributes, std::uint32_t reparse_tag) {
    return (attributes & kAttributeReparsePoint) != 0 &&
           (reparse_tag == kTagMountPoint || reparse_tag == kTagSymbolicLink);
}

// ---- Enumerating a folder -----------------------------------------------------------------------

// A folder that the host has given, as the path below which others are found: the text itself,
// unless the system would read it otherwise, as it does with dots at the end of a component. Throws
// std::bad_alloc.
std::u16string as_system_reads(const std::u16string& folder);

// One child as the enumeration reports it. A caller keeps one and lets every call overwrite it.
struct Child {
    std::uint32_t attributes;
    std::uint32_t reparse_tag;  // means something only with kAttributeReparsePoint
    // Not 0 when the system named the child but not its attributes; the two fields above then mean
    // nothing.
    Error type_error;
    std::uint32_t name_units;
    char16_t name[260];

    std::u16string_view name_view() const { return {name, name_units}; }
};

// An open enumeration of one folder's children, "." and ".." left out, in the system's order.
class Enumeration {
public:
    Enumeration() = default;
    Enumeration(const Enumeration&) = delete;
    Enumeration& operator=(const Enumeration&) = delete;
    ~Enumeration() { close(); }

    // Opens `folder`, a found path, and reads its first child. kNoMoreFiles: the folder is empty,
    // or the root of an empty volume, which the system itself reports as not found.
    // After any error the enumeration is closed. Throws std::bad_alloc.
    Error open(const std::u16string& folder, Child& first);
    // Reads the next child. kNoMoreFiles: there is none.
    Error next(Child& child) noexcept;
    void close() noexcept;

private:
    void* handle_ = nullptr;  // null: closed
};

// ---- Asking about a path ------------------------------------------------------------------------

// The attributes of the item itself, links not followed; kInvalidAttributes on any failure. A found
// path. Throws std::bad_alloc.
std::uint32_t attributes(const char16_t* path);

struct Status {
    std::uint32_t attributes;
    std::uint32_t reparse_tag;  // 0 unless the attributes carry kAttributeReparsePoint
};

// The status of what `path`, a given one, leads to, links followed.
Error status_following_links(const char16_t* path, Status& out) noexcept;

struct FileInformation {
    std::uint32_t attributes;
    std::uint64_t size;        // bytes
    std::uint64_t last_write;  // 100-nanosecond intervals since 1601-01-01 UTC
};

// Size and last write time of the item itself, links not followed. A found path. When nothing is
// there, the path is tried once more as a given one: a host may have chosen the folder "C:\docs.",
// which the system reads as "C:\docs", and then the paths of all its entries begin with
// "C:\docs.\", where nothing is. Throws std::bad_alloc.
Error file_information(const char16_t* path, FileInformation& out);

// The system's sentence for an error number, UTF-8, without a line end. Throws std::bad_alloc.
std::string error_message(Error error);

// ---- Drives -------------------------------------------------------------------------------------

inline constexpr std::uint32_t kDriveRemovable = 2;
inline constexpr std::uint32_t kDriveFixed = 3;

// Fills `buffer` with the NUL-terminated roots of all drives, an empty string behind the last.
// Returns the units written, the final NUL not counted; 0 on failure; the capacity needed when
// `capacity_units` is too small.
std::uint32_t drive_strings(char16_t* buffer, std::uint32_t capacity_units) noexcept;
std::uint32_t drive_type(const char16_t* root) noexcept;

// ---- Files --------------------------------------------------------------------------------------

// An open file, unbuffered, of a given path. Other processes may read, write, rename or delete it
// meanwhile. The name of one that they delete is free again when the last handle is closed, on
// newer systems at once; a file cannot be moved onto one that anybody has open, as a rule, and the
// error is kAccessDenied then.
class File {
public:
    File() = default;
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { close(); }

    Error open_for_reading(const char16_t* path) noexcept;
    // Makes a new file and opens it for writing. kFileExists when anything of that name is there: a
    // link that somebody put in its place is not followed.
    Error create(const char16_t* path) noexcept;
    // Reads up to `bytes`; `got` is 0 only at the end of the file.
    Error read(void* buffer, std::size_t bytes, std::size_t& got) noexcept;
    // Writes all of `bytes` or fails.
    Error write(const void* buffer, std::size_t bytes) noexcept;
    // Returns when everything written so far is on the disk, as far as the disk knows how.
    Error flush() noexcept;
    Error close() noexcept;

private:
    void* handle_ = nullptr;  // null: closed
};

// The paths of the following functions are given ones.
Error remove_file(const char16_t* path) noexcept;
// Moves `source` onto `destination` in one step, replacing it, written through to the disk.
Error replace_file(const char16_t* source, const char16_t* destination) noexcept;
// Creates one folder. kAlreadyExists when something of that name is there, folder or not.
Error create_folder(const char16_t* path) noexcept;

// ---- Threads and time ---------------------------------------------------------------------------

// A plain, non-recursive lock. Not std::mutex: the statically linked runtime allocates that one at
// its first use, so that locking could fail, and never frees it.
class SS_CAPABILITY("mutex") Mutex {
public:
    Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() noexcept SS_ACQUIRE();
    void unlock() noexcept SS_RELEASE();

private:
    friend class Condition;
#if defined(_WIN32)
    void* slim_lock_ = nullptr;
#else
    std::mutex mutex_;
#endif
};

class SS_SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) noexcept SS_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() SS_RELEASE() { mutex_.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex_;
};

// Lets threads sleep until another one changed what a mutex guards. A wait may end without a
// reason: ask again what was waited for. Not std::condition_variable, for the same reason as Mutex.
class Condition {
public:
    Condition() = default;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    void wait(Mutex& mutex) noexcept SS_REQUIRES(mutex);
    // The same, for so long at the most.
    void wait_for(Mutex& mutex, std::uint32_t milliseconds) noexcept SS_REQUIRES(mutex);
    void notify_one() noexcept;
    void notify_all() noexcept;

private:
    [[maybe_unused]] void* condition_variable_ = nullptr;  // used on Windows only
};

// What the library's threads reserve, whatever the host's program says: its largest frame is under
// 7 KB, and what else runs on them are the system's own calls, the unwinding of an exception, and
// what other modules of the host do when a thread begins and ends.
inline constexpr std::size_t kThreadStackBytes = std::size_t{256} << 10;

// A thread and the duty to join it. Not std::thread: that one takes a thread-local slot of the
// process at each load of the library and does not give it back.
//
// A thread is more than its body: before and behind it the system tells every module of the host
// about the thread, one thread at a time and only while nobody loads or unloads a library.
class Thread {
public:
    using Body = void (*)(void* argument) noexcept;

    Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread();  // ends the process when the thread was not joined

    // Only when not joinable(). Any error means that no thread runs.
    Error start(Body body, void* argument) noexcept;
    bool joinable() const noexcept { return record_ != nullptr; }
    bool is_current() const noexcept;

    // Returns when the body has returned or, where it has not begun, will never begin. Ends every
    // call of the system that the body is still in after 10 ms, then 20, 40, up to 640: a share or
    // drive that does not answer would be waited for otherwise. The body sees kOperationAborted.
    // What other modules do on the thread is not touched, and not waited for.
    //
    // So a thread whose body is ended while it works must have been told to stop before, and
    // whatever it makes of the ended call, nobody may see it. What it leaves on the disk stays, and
    // has to be right all the same.
    void end_body() noexcept;

    // Waits for the end of the thread, and ends the calls of its body in the same way. A body that
    // has not begun is still run. After an error, which being called from the thread itself is too,
    // the thread is still joinable.
    [[nodiscard]] Error try_join() noexcept;
    // The same, but ends the process when it fails.
    void join() noexcept;

private:
    struct Record;
    Record* record_ = nullptr;  // null: not joinable
};

// A buffer of at least `bytes` that belongs to the calling thread, the same one at every call
// unless it has to grow; freed when the thread ends or the library is unloaded. Null when it
// cannot be had. Fiber-local storage, not thread_local, which would keep the library loaded for
// as long as a thread that used it lives, and ends the process when memory is short.
char* thread_buffer(std::size_t bytes) noexcept;

// What the C++ runtime has to remember of a thread while exceptions are thrown and caught there.
// Every way into the library that may throw (an exported function, a thread's body) holds one on
// its stack. Natively the runtime's own thread-local storage does the same without help.
class ExceptionScope {
public:
    ExceptionScope() noexcept;
#if defined(_WIN32)
    ~ExceptionScope();
#endif
    ExceptionScope(const ExceptionScope&) = delete;
    ExceptionScope& operator=(const ExceptionScope&) = delete;

    // False when the system is out of what it takes: nothing must be thrown then.
    bool ready() const { return ready_; }

    void* record[2] = {};

private:
    [[maybe_unused]] void* outer_ = nullptr;  // used on Windows only
    bool ready_ = false;
};

// Gives back what the library took from the process. Called once, when it is unloaded.
void detach() noexcept;

std::int64_t monotonic_nanoseconds() noexcept;
void sleep(std::uint32_t milliseconds) noexcept;

}  // namespace system_search::platform
