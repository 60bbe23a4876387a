// The build job: the body of an engine's build thread.
#pragma once

#include <memory>
#include <string>

#include "engine/engine.hpp"

namespace system_search {

struct BuildJob {
    Engine& engine;  // outlives the thread: ss_destroy joins it
    std::string scope;
    std::string cache_path;
    bool force;
};

// Loads the cache or walks the scope, and stores the engine's final state as its last act. Every
// outcome is reported through the engine.
void run_build(const BuildJob& job) noexcept;

// Starts run_build on the engine's thread, which owns the job from then on.
platform::Error start_build(std::unique_ptr<BuildJob> job) noexcept;

}  // namespace system_search
