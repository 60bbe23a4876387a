// Answers of the system that Wine never gives. A test puts these functions in the place of those
// that the DLL imports, and sets `script` before a build: marked names then come back as junctions,
// odd reparse points or invalid text, and calls on marked paths fail.
#pragma once

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace patched_system {

// What the next build meets. Set before a build, read by its thread.
struct Script {
    DWORD open_error = ERROR_ACCESS_DENIED;  // for folders called "mark unopenable"
    DWORD status_error = 0;                  // of GetFileAttributesExW
    std::optional<DWORD> status_attributes;
    DWORD target_error = 0;  // of CreateFileW without rights to the contents
    DWORD basic_error = 0;   // of GetFileInformationByHandleEx
    DWORD tag_error = 0;     // of the same, asked for the tag
    std::optional<FILE_ATTRIBUTE_TAG_INFO> target;
    std::wstring drives;  // NULs included; empty: the system's own
    std::optional<DWORD> drives_result;
    SystemSearchEngine* destroyed_by_its_walk = nullptr;  // by the thread that opens a folder
    HANDLE may_destroy = nullptr;  // set when it may: after its start has returned
    DWORD extras_error = 0;        // of FindFirstFileExW, asked for more than it could always do
    std::set<std::wstring> bare_roots;  // patterns of empty volumes
    bool threads_start = true;
    bool joins_fail = false;
    bool slots_run_out = false;
    bool knows_cloud_folders = true;  // ntdll has the function to ask for them
    bool has_english_texts = true;    // of its errors
    bool has_local_texts = true;
};
inline Script script;
inline std::atomic<int> open_searches{0};

// The folder whose reading fails after its first child: only one at a time.
inline std::atomic<HANDLE> failing_search{nullptr};
// A search that leaves out "." and "..", as the root of a drive does.
inline std::atomic<HANDLE> bare_search{nullptr};

// What the thread that enumerates does where a drive has no medium.
inline std::atomic<DWORD> error_mode{0};

// Every call of RtlSetThreadPlaceholderCompatibilityMode.
struct CloudMode {
    DWORD thread;
    CHAR mode;
    int searches_before;  // of the whole process
    bool operator==(const CloudMode&) const = default;
};
inline std::mutex cloud_mutex;
inline std::vector<CloudMode> cloud_modes;
inline std::set<DWORD> enumerating_threads;

inline CHAR NTAPI set_cloud_mode(CHAR mode) {
    const std::lock_guard lock(cloud_mutex);
    cloud_modes.push_back(
        {GetCurrentThreadId(), mode, static_cast<int>(enumerating_threads.size())});
    return 0;
}

inline FARPROC WINAPI get_procedure(HMODULE module, const char* name) {
    if (std::string_view(name) != "RtlSetThreadPlaceholderCompatibilityMode") {
        return GetProcAddress(module, name);
    }
    if (!script.knows_cloud_folders || module != GetModuleHandleW(L"ntdll.dll")) return nullptr;
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&set_cloud_mode));
}

inline DWORD WINAPI format_message(DWORD flags, LPCVOID source, DWORD error, DWORD language,
                                   LPWSTR text, DWORD capacity, va_list* arguments) {
    constexpr std::wstring_view kLocalText = L"Zugriff verweigert\r\n";
    const bool is_known = language != 0 ? script.has_english_texts : script.has_local_texts;
    if (!is_known) return 0;
    if (language != 0) {
        return FormatMessageW(flags, source, error, language, text, capacity, arguments);
    }
    return static_cast<DWORD>(kLocalText.copy(text, capacity));
}

inline bool has_mark(std::wstring_view path, std::wstring_view mark) {
    return path.find(mark) != path.npos;
}

template <class Result>
Result fail(DWORD error, Result result) {
    SetLastError(error);
    return result;
}

inline void set_type(WIN32_FIND_DATAW& found, DWORD attributes, DWORD tag) {
    found.dwFileAttributes = attributes;
    found.dwReserved0 = tag;
}

inline void apply_marks(WIN32_FIND_DATAW& found) {
    constexpr DWORD kReparseFolder = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    constexpr DWORD kReparseFile = FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT;
    const std::wstring_view name = found.cFileName;
    if (name == L"mark junction") set_type(found, kReparseFolder, IO_REPARSE_TAG_MOUNT_POINT);
    if (name == L"mark folder link") set_type(found, kReparseFolder, IO_REPARSE_TAG_SYMLINK);
    if (name == L"mark file link") set_type(found, kReparseFile, IO_REPARSE_TAG_SYMLINK);
    if (name == L"mark cloud folder") set_type(found, kReparseFolder, 0x9000001A);
    if (name == L"mark cloud file") set_type(found, kReparseFile, 0x9000001A);
    if (name == L"mark stale tag") found.dwReserved0 = IO_REPARSE_TAG_MOUNT_POINT;
    if (name == L"mark typeless") found.dwFileAttributes = INVALID_FILE_ATTRIBUTES;
    if (name == L"mark high") found.cFileName[5] = 0xD800;
    if (name == L"mark low") found.cFileName[5] = 0xDC00;
    if (name == L"mark pair") {
        found.cFileName[5] = 0xD83D;
        found.cFileName[6] = 0xDE00;
    }
}

inline bool is_dots(const WIN32_FIND_DATAW& found) {
    return std::wstring_view(found.cFileName) == L"." ||
           std::wstring_view(found.cFileName) == L"..";
}

inline HANDLE WINAPI find_first(const wchar_t* pattern, FINDEX_INFO_LEVELS level, void* out,
                                FINDEX_SEARCH_OPS search, void* filter, DWORD flags) {
    error_mode = GetThreadErrorMode();
    {
        const std::lock_guard lock(cloud_mutex);
        enumerating_threads.insert(GetCurrentThreadId());
    }
    if (script.destroyed_by_its_walk != nullptr) {
        WaitForSingleObject(script.may_destroy, INFINITE);
        ss_destroy(script.destroyed_by_its_walk);
    }
    if (has_mark(pattern, L"mark unopenable")) return fail(script.open_error, INVALID_HANDLE_VALUE);
    if (script.extras_error != 0 && (level != FindExInfoStandard || flags != 0)) {
        return fail(script.extras_error, INVALID_HANDLE_VALUE);
    }
    if (script.bare_roots.contains(pattern)) return fail(DWORD{2}, INVALID_HANDLE_VALUE);
    HANDLE const handle = FindFirstFileExW(pattern, level, out, search, filter, flags);
    if (handle == INVALID_HANDLE_VALUE) return handle;
    auto& found = *static_cast<WIN32_FIND_DATAW*>(out);
    ++open_searches;
    if (has_mark(pattern, L"mark failing\\*")) failing_search = handle;
    if (has_mark(pattern, L"mark bare\\*")) {
        while (is_dots(found)) FindNextFileW(handle, &found);
        bare_search = handle;
    }
    apply_marks(found);
    return handle;
}

inline BOOL WINAPI find_next(HANDLE search, WIN32_FIND_DATAW* found) {
    const BOOL more = FindNextFileW(search, found);
    if (!more) return more;
    if (search == failing_search && !is_dots(*found) && found->cFileName[0] != L'1') {
        return fail(ERROR_READ_FAULT, FALSE);
    }
    apply_marks(*found);
    return more;
}

inline BOOL WINAPI find_close(HANDLE search) {
    --open_searches;
    if (search == failing_search) failing_search = nullptr;
    return FindClose(search);
}

inline DWORD WINAPI get_attributes(const wchar_t* path) {
    if (has_mark(path, L"mark unreadable"))
        return fail(ERROR_ACCESS_DENIED, INVALID_FILE_ATTRIBUTES);
    if (has_mark(path, L"mark changed")) {
        return FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    }
    return GetFileAttributesW(path);
}

inline BOOL WINAPI get_attributes_ex(const wchar_t* path, GET_FILEEX_INFO_LEVELS level, void* out) {
    if (script.status_error != 0) return fail(script.status_error, FALSE);
    const BOOL succeeded = GetFileAttributesExW(path, level, out);
    if (succeeded && script.status_attributes) {
        static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(out)->dwFileAttributes = *script.status_attributes;
    }
    return succeeded;
}

inline HANDLE WINAPI create_file(const wchar_t* path, DWORD access, DWORD share,
                                 SECURITY_ATTRIBUTES* who, DWORD disposition, DWORD flags,
                                 HANDLE like) {
    if (access == FILE_READ_ATTRIBUTES && script.target_error != 0) {
        return fail(script.target_error, INVALID_HANDLE_VALUE);
    }
    return CreateFileW(path, access, share, who, disposition, flags, like);
}

inline BOOL WINAPI get_information(HANDLE file, FILE_INFO_BY_HANDLE_CLASS what, void* out,
                                   DWORD bytes) {
    if (what == FileBasicInfo && script.basic_error != 0) return fail(script.basic_error, FALSE);
    if (what == FileAttributeTagInfo && script.tag_error != 0) return fail(script.tag_error, FALSE);
    if (what == FileBasicInfo && script.target) {
        *static_cast<FILE_BASIC_INFO*>(out) = {};
        static_cast<FILE_BASIC_INFO*>(out)->FileAttributes = script.target->FileAttributes;
        return TRUE;
    }
    if (what == FileAttributeTagInfo && script.target) {
        *static_cast<FILE_ATTRIBUTE_TAG_INFO*>(out) = *script.target;
        return TRUE;
    }
    return GetFileInformationByHandleEx(file, what, out, bytes);
}

inline DWORD WINAPI get_drives(DWORD units, wchar_t* out) {
    if (script.drives_result) return *script.drives_result;
    if (script.drives.empty()) return GetLogicalDriveStringsW(units, out);
    const auto length = static_cast<DWORD>(script.drives.size());
    if (length + 1 > units) return length + 1;
    std::copy_n(script.drives.c_str(), length + 1, out);
    return length;
}

inline UINT WINAPI get_drive_type(const wchar_t* root) {
    const std::wstring_view text = root;
    if (has_mark(text, L"type ")) return static_cast<UINT>(text[text.find(L"type ") + 5] - L'0');
    return GetDriveTypeW(root);
}

inline HANDLE WINAPI create_thread(SECURITY_ATTRIBUTES* who, SIZE_T stack,
                                   LPTHREAD_START_ROUTINE body, void* argument, DWORD flags,
                                   DWORD* id) {
    if (!script.threads_start) return fail<HANDLE>(ERROR_NOT_ENOUGH_MEMORY, nullptr);
    return CreateThread(who, stack, body, argument, flags, id);
}

inline DWORD WINAPI wait(HANDLE handle, DWORD milliseconds) {
    if (script.joins_fail) return fail<DWORD>(ERROR_INVALID_HANDLE, WAIT_FAILED);
    return WaitForSingleObject(handle, milliseconds);
}

inline BOOL WINAPI set_slot(DWORD slot, void* value) {
    if (script.slots_run_out) return fail(ERROR_NOT_ENOUGH_MEMORY, FALSE);
    return FlsSetValue(slot, value);
}

}  // namespace patched_system
