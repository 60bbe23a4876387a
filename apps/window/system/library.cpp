#include "system/library.hpp"

#include <system_search.h>
#include <windows.h>

#include "common/wide_text.hpp"

namespace {

struct Functions {
    decltype(&ss_create) create;
    decltype(&ss_start) start;
    decltype(&ss_cancel) cancel;
    decltype(&ss_status) status;
    decltype(&ss_error) error;
    decltype(&ss_destroy) destroy;
    decltype(&ss_query) query;
    decltype(&ss_query_directory) query_directory;
    decltype(&ss_query_poll) query_poll;
    decltype(&ss_query_path) query_path;
    decltype(&ss_query_kind) query_kind;
    decltype(&ss_query_metadata) query_metadata;
    decltype(&ss_query_destroy) query_destroy;
};
Functions functions;

template <typename Function>
bool find(HMODULE library, const char* name, Function& function) {
    // Through a type that fits any function, as the compiler demands of such casts.
    function =
        reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
    return function != nullptr;
}

bool find_all(HMODULE library) {
    return find(library, "ss_create", functions.create) &&
           find(library, "ss_start", functions.start) &&
           find(library, "ss_cancel", functions.cancel) &&
           find(library, "ss_status", functions.status) &&
           find(library, "ss_error", functions.error) &&
           find(library, "ss_destroy", functions.destroy) &&
           find(library, "ss_query", functions.query) &&
           find(library, "ss_query_directory", functions.query_directory) &&
           find(library, "ss_query_poll", functions.query_poll) &&
           find(library, "ss_query_path", functions.query_path) &&
           find(library, "ss_query_kind", functions.query_kind) &&
           find(library, "ss_query_metadata", functions.query_metadata) &&
           find(library, "ss_query_destroy", functions.query_destroy);
}

std::wstring path_beside_program() {
    std::wstring path(32768, L'\0');
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    path.resize(length);
    path.resize(path.rfind(L'\\') + 1);
    return path + L"system_search.dll";
}

}  // namespace

namespace window {

std::string load_library() {
    const std::wstring path = path_beside_program();
    const std::string shown = app::to_utf8(path).value_or("system_search.dll");
    if (GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        return "The library is missing: " + shown;
    }
    // Kept until the process ends: threads of the library may live as long.
    HMODULE library = LoadLibraryExW(path.c_str(), nullptr, 0);
    if (!library || !find_all(library)) return "The library cannot be used: " + shown;
    return "";
}

}  // namespace window

SystemSearchEngine* ss_create(void) {
    return functions.create();
}
int32_t ss_start(SystemSearchEngine* engine, const char* scope, const char* cache_path,
                 int32_t force) {
    return functions.start(engine, scope, cache_path, force);
}
void ss_cancel(SystemSearchEngine* engine) {
    functions.cancel(engine);
}
void ss_status(const SystemSearchEngine* engine, EngineStatus* out) {
    functions.status(engine, out);
}
const char* ss_error(const SystemSearchEngine* engine) {
    return functions.error(engine);
}
void ss_destroy(SystemSearchEngine* engine) {
    functions.destroy(engine);
}
SystemSearchQuery* ss_query(const SystemSearchEngine* engine, const char* text, uint32_t flags,
                            uint32_t kind, int32_t limit) {
    return functions.query(engine, text, flags, kind, limit);
}
SystemSearchQuery* ss_query_directory(const char* directory, const char* text, uint32_t flags,
                                      uint32_t kind, uint32_t limit) {
    return functions.query_directory(directory, text, flags, kind, limit);
}
void ss_query_poll(const SystemSearchQuery* query, QueryStatus* out) {
    functions.query_poll(query, out);
}
const char* ss_query_path(const SystemSearchQuery* query, uint32_t index) {
    return functions.query_path(query, index);
}
uint32_t ss_query_kind(const SystemSearchQuery* query, uint32_t index) {
    return functions.query_kind(query, index);
}
int32_t ss_query_metadata(const SystemSearchQuery* query, uint32_t index, ResultMetadata* out) {
    return functions.query_metadata(query, index, out);
}
void ss_query_destroy(SystemSearchQuery* query) {
    functions.query_destroy(query);
}
