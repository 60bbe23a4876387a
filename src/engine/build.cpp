#include "engine/build.hpp"

#include <exception>
#include <utility>

#include "common/owned_job.hpp"
#include "engine/index_cache.hpp"
#include "engine/scope.hpp"
#include "engine/walk.hpp"
#include "system_search.h"

namespace system_search {
namespace {

// Returns the run's final state.
std::uint32_t build(const BuildJob& job) {
    Engine& engine = job.engine;
    if (!job.force && load_index_cache(engine, job.scope, job.cache_path)) return SS_ENGINE_READY;

    const auto index = std::make_shared<Index>();
    replace_index(engine, index);
    walk(engine, *index, resolve_scope(job.scope));
    if (engine.cancel) return SS_ENGINE_CANCELLED;

    index->complete = engine.limited == 0;
    save_index_cache(engine, *index, job.scope, job.cache_path);
    return engine.cancel ? SS_ENGINE_CANCELLED : SS_ENGINE_READY;
}

}  // namespace

void run_build(const BuildJob& job) noexcept {
    static constexpr std::string_view kUnexplained = "File indexing failed.";
    std::uint32_t state = SS_ENGINE_FAILED;
    try {
        state = build(job);
    } catch (const std::exception& failure) {
        const std::string_view reason = failure.what();
        set_error(job.engine, reason.empty() ? kUnexplained : reason);
    } catch (...) {
        set_error(job.engine, kUnexplained);
    }
    job.engine.state = state;
}

platform::Error start_build(std::unique_ptr<BuildJob> job) noexcept {
    platform::Thread& thread = job->engine.thread;
    return start_owned<run_build>(thread, std::move(job));
}

}  // namespace system_search
