// The exported functions of the engine. Each is a few lines over what the stages below do:
//
//   build        the build thread: load the cache, else walk, then save      build.cpp
//   scope        scope text -> folders to walk                               scope.cpp
//   walk         folders -> entries, published in shards                     walk.cpp
//   read_ahead   which folder is read next, and by which thread              read_ahead.cpp
//   folder       one folder, read into memory                                folder_reader.cpp
//   index_cache  load before the walk, save after it                         index_cache.cpp
//   error_text   the last error, copied for the calling thread               error_text.cpp
//   readers      the threads behind that, until they are joined            reader_threads.cpp
//   engine       the fields all of them share, and who guards them           engine.cpp
#include <memory>
#include <utility>

#include "common/guard.hpp"
#include "engine/build.hpp"
#include "engine/engine.hpp"
#include "engine/error_text.hpp"
#include "engine/status.hpp"
#include "system_search.h"

namespace {

using system_search::BuildJob;
using system_search::Engine;
using system_search::Index;

// The handle's type exists only in the public header.
Engine* engine_of(SystemSearchEngine* handle) {
    return reinterpret_cast<Engine*>(handle);
}

const Engine* engine_of(const SystemSearchEngine* handle) {
    return reinterpret_cast<const Engine*>(handle);
}

// Waits for the threads of an earlier build to end; for that they may need the loader's lock.
system_search::platform::Error join_build(Engine& engine) {
    if (engine.thread.joinable()) {
        if (const auto error = engine.thread.try_join()) return error;
    }
    return engine.readers.try_join();
}

bool start(Engine& engine, const char* scope, const char* cache_path, bool force) {
    if (join_build(engine) != system_search::platform::kSuccess) return false;
    engine.cancel = false;
    engine.skipped = 0;
    engine.limited = 0;
    engine.from_cache = 0;
    system_search::set_error(engine, "");
    system_search::replace_index(engine, std::make_shared<Index>());
    engine.state = SS_ENGINE_RUNNING;
    auto job = std::unique_ptr<BuildJob>(new BuildJob{engine, scope, cache_path, force});
    return system_search::start_build(std::move(job)) == system_search::platform::kSuccess;
}

}  // namespace

SystemSearchEngine* ss_create(void) {
    return system_search::guarded<SystemSearchEngine*>(nullptr, [] {
        auto engine = std::make_unique<Engine>();
        system_search::reserve_error(*engine);
        system_search::replace_index(*engine, std::make_shared<Index>());
        return reinterpret_cast<SystemSearchEngine*>(engine.release());
    });
}

int32_t ss_start(SystemSearchEngine* handle, const char* scope, const char* cache_path,
                 int32_t force) {
    Engine* const engine = engine_of(handle);
    if (engine == nullptr || scope == nullptr || cache_path == nullptr) return 0;
    if (engine->state == SS_ENGINE_RUNNING) return 0;
    const bool started = system_search::guarded(
        false, [&] { return start(*engine, scope, cache_path, force != 0); });
    if (!started) engine->state = SS_ENGINE_FAILED;
    return started ? 1 : 0;
}

void ss_cancel(SystemSearchEngine* handle) {
    if (handle != nullptr) engine_of(handle)->cancel = true;
}

void ss_status(const SystemSearchEngine* handle, EngineStatus* out) {
    const Engine* const engine = engine_of(handle);
    if (engine == nullptr || out == nullptr) return;
    std::shared_ptr<Index> index = system_search::current_index(*engine);
    while (true) {
        {
            const system_search::platform::MutexLock lock(index->mutex);
            *out = system_search::read_status(*engine, index->entry_count);
        }
        // A build may have replaced the index and ended meanwhile. Its final state beside the count
        // of the old index would tell a host that stops polling then that nothing was found.
        std::shared_ptr<Index> now = system_search::current_index(*engine);
        if (now == index) return;
        index = std::move(now);
    }
}

const char* ss_error(const SystemSearchEngine* handle) {
    if (handle == nullptr) return "Library unavailable.";
    return system_search::error_text(*engine_of(handle));
}

void ss_destroy(SystemSearchEngine* handle) {
    if (handle == nullptr) return;
    const std::unique_ptr<Engine> engine(engine_of(handle));
    engine->cancel = true;
    if (engine->thread.joinable()) engine->thread.join();
    engine->readers.join();
}
