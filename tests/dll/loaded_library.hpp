// The DLL as a host loads it that does not link it: LoadLibrary, one pointer per exported function,
// FreeLibrary. For tests that need it loaded afresh, unloaded, or with its imports changed.
#pragma once

#include <windows.h>

#include <string>

#include "system_search.h"

class LoadedLibrary {
public:
    LoadedLibrary() : module_(LoadLibraryW(L"system_search.dll")) {
#define SS_RESOLVE(name) resolve(name, "ss_" #name)
        SS_RESOLVE(create);
        SS_RESOLVE(destroy);
        SS_RESOLVE(start);
        SS_RESOLVE(cancel);
        SS_RESOLVE(status);
        SS_RESOLVE(error);
        SS_RESOLVE(query);
        SS_RESOLVE(query_directory);
        SS_RESOLVE(query_poll);
        SS_RESOLVE(query_path);
        SS_RESOLVE(query_kind);
        SS_RESOLVE(query_metadata);
        SS_RESOLVE(query_destroy);
#undef SS_RESOLVE
    }
    ~LoadedLibrary() { unload(); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    HMODULE module() const { return module_; }
    void unload() {
        if (module_ != nullptr) FreeLibrary(module_);
        module_ = nullptr;
    }
    static bool is_in_process() { return GetModuleHandleW(L"system_search.dll") != nullptr; }

    decltype(&ss_create) create;
    decltype(&ss_destroy) destroy;
    decltype(&ss_start) start;
    decltype(&ss_cancel) cancel;
    decltype(&ss_status) status;
    decltype(&ss_error) error;
    decltype(&ss_query) query;
    decltype(&ss_query_directory) query_directory;
    decltype(&ss_query_poll) query_poll;
    decltype(&ss_query_path) query_path;
    decltype(&ss_query_kind) query_kind;
    decltype(&ss_query_metadata) query_metadata;
    decltype(&ss_query_destroy) query_destroy;

    EngineStatus status_of(SystemSearchEngine* engine) const {
        EngineStatus out{};
        status(engine, &out);
        return out;
    }
    EngineStatus wait(SystemSearchEngine* engine) const {
        while (status_of(engine).state == SS_ENGINE_RUNNING) Sleep(0);
        return status_of(engine);  // the first status of a finished build may mix two moments
    }
    QueryStatus wait(SystemSearchQuery* running) const {
        QueryStatus out{};
        for (query_poll(running, &out); out.state == SS_QUERY_RUNNING; query_poll(running, &out)) {
            Sleep(0);
        }
        return out;
    }

private:
    template <class Function>
    void resolve(Function& function, const char* name) {
        FARPROC const address = module_ != nullptr ? GetProcAddress(module_, name) : nullptr;
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(address));
    }

    HMODULE module_;
};
